#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/base/Output.hpp"
#include "host/cli/Session.hpp"
#include "host/cli/SharedOptions.hpp"
#include "host/findings/Findings.hpp"

namespace nimbrel {

/// An application that keeps what became of each advertisement, for a derived class to tell of.
class FindingsSession : public Session {
 public:
  /// Options and errors outlive the session. `isQuiet`: only errors and warnings. `keepsStories`:
  /// the story of every device is kept.
  FindingsSession(const RunOptions& options, bool isQuiet, bool keepsStories, MainQueue& queue,
                  Output& errors);

  void hear(const Advertisement& advertisement) override;
  void note(const std::string& line) override;
  void inform(const std::string& line) override;
  void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) override;
  void conclude(std::uint64_t damagedPackets) override;

  void logged(std::string_view /*line*/) override {
    // The phone has no console.
  }
  void requested(const Request& request) override { findings_.requested(request); }
  void discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data) override {
    findings_.discovered(peripheral, data);
  }
  void heard(const Reception& reception) override { findings_.heard(reception); }

 protected:
  [[nodiscard]] const Findings& findings() const { return findings_; }

  /// The device at that place of the findings was heard, and all that follows from it has happened.
  virtual void settled(std::size_t /*device*/, const Advertisement& /*advertisement*/) {}
  /// An event came, which tells of the device at that place of the findings.
  virtual void detected(std::optional<std::size_t> /*device*/, const EncodableMap& /*event*/) {}
  /// The findings are complete.
  virtual void tell() = 0;

 private:
  void received(const EncodableValue& event) override;

  bool isQuiet_;
  Output& errors_;
  Findings findings_;
};

}  // namespace nimbrel
