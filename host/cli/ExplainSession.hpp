#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/Output.hpp"
#include "host/base/WallClock.hpp"
#include "host/cli/ExplainOptions.hpp"
#include "host/cli/Session.hpp"
#include "host/findings/Findings.hpp"

namespace nimbrel {

/// The application of `nimbrel explain`: it keeps what became of each advertisement, and says so in
/// the end.
class ExplainSession final : public Session {
 public:
  /// All of them outlive the session.
  ExplainSession(const ExplainOptions& options, MainQueue& queue, Output& output, Output& errors);

  void hear(const Advertisement& advertisement) override;
  void note(const std::string& line) override;
  void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) override;
  /// Writes the findings. Throws InputError where the device asked for was not heard.
  void conclude(std::uint64_t damagedPackets) override;

  void logged(std::string_view /*line*/) override {
    // The phone has no console.
  }
  void requested(const Request& request) override { findings_.requested(request); }
  void discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data) override {
    findings_.discovered(peripheral, data);
  }
  void heard(std::optional<std::string_view> name, ScanOutcome scan,
             RangingOutcome ranging) override {
    findings_.heard(name, scan, ranging);
  }

 private:
  void received(const EncodableValue& event) override;

  [[nodiscard]] std::vector<const FoundDevice*> devicesAskedFor() const;
  void writeJson();
  void writeText();

  const ExplainOptions& options_;
  Output& output_;
  Output& errors_;
  Findings findings_;
};

}  // namespace nimbrel
