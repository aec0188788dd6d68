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

/// The application of `nimbrel scan`: it prints what it receives, and what the plug-in says.
class ScanSession final : public Session {
 public:
  /// All of them outlive the session. Where diagnostics go is `output` as on the phone, or `errors`
  /// where the output is for a program to read.
  ScanSession(const ScanOptions& options, MainQueue& queue, Output& output, Output& errors);

  void start() override;
  void stop() override;
  /// Below the table while that has the screen.
  void note(const std::string& line) override;
  void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) override;
  /// One line on what there was, and one on what was asked for and not detected, to `errors`.
  void conclude(std::uint64_t damagedPackets) override;

  void logged(std::string_view line) override;
  void requested(const Request& /*request*/) override {
    // What the plug-in asks of the phone shows in what follows from it.
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
