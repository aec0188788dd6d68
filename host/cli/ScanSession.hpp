#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/Output.hpp"
#include "host/base/WallClock.hpp"
#include "host/cli/ScanOptions.hpp"
#include "host/cli/Session.hpp"
#include "host/findings/Findings.hpp"
#include "host/terminal/DetectionLine.hpp"
#include "host/terminal/Table.hpp"

namespace nimbrel {

/// The application of `nimbrel scan`: prints the events that it receives and the plug-in's
/// diagnostic lines.
class ScanSession final : public Session {
 public:
  /// Diagnostic lines go to `output` as on the phone, or to `errors` if a program reads the output.
  /// REQUIRES: all arguments outlive the session.
  ScanSession(const ScanOptions& options, MainQueue& queue, Output& output, Output& errors);

  void start() override;
  void stop() override;
  /// Below the table while that has the screen.
  void note(const std::string& line) override;
  void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) override;
  /// Writes one line about what was heard, and one about what was asked for and not detected, to
  /// `errors`.
  void conclude(std::uint64_t damagedPackets) override;

  void logged(std::string_view line) override;
  void requested(const Request& /*request*/) override {
    // Requests have visible results: nothing to print here.
  }

 private:
  void received(const EncodableValue& event) override;
  void countForFilter(const EncodableMap& event);
  void noteUndetected();

  const ScanOptions& options_;
  MainQueue& queue_;
  Output& output_;
  Output& errors_;
  WallClock clock_;
  DetectionLine detectionLine_;
  std::optional<Table> table_;
  std::vector<std::string> withheld_;  // notes, until the table gives the screen back
  std::uint64_t detections_ = 0;
  std::vector<FoundFilter> filters_;
  bool hasJumped_ = false;
  std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

}  // namespace nimbrel
