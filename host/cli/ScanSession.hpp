#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/air/Devices.hpp"
#include "host/cli/DetectionLine.hpp"
#include "host/cli/Output.hpp"
#include "host/cli/ScanOptions.hpp"
#include "host/cli/Table.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel {

/// The application of `nimbrel scan`, and the phone that it runs on: it listens, starts detection
/// with the filters of the command line, prints what it receives, and stops detection in the end.
class ScanSession final : public PhoneObserver {
 public:
  /// All of them outlive the session. Where diagnostics go is `output` as on the phone, or `errors`
  /// where the output is for a program to read.
  ScanSession(const ScanOptions& options, MainQueue& queue, CBManagerState bluetooth,
              Output& output, Output& errors);

  Phone& phone() { return phone_; }

  void start();
  /// Takes in one report; the detections that follow from it are printed in the same step.
  void hear(const Advertisement& advertisement);
  void stop();

  /// A line for the user, to `errors`; below the table while that has the screen.
  void note(const std::string& line);

  /// One line on what there was, to `errors`, below all output.
  void summarize();

  [[nodiscard]] std::uint64_t advertisementCount() const { return advertisements_; }

  void logged(std::string_view line) override;
  void requested(const Request& request) override;

 private:
  void received(const EncodableValue& event);

  const ScanOptions& options_;
  MainQueue& queue_;
  Output& output_;
  Output& errors_;
  DetectionLine detectionLine_;
  Devices devices_;
  Phone phone_;
  Messenger messenger_;
  Application application_;
  std::optional<Table> table_;
  std::vector<std::string> withheld_;  // notes, until the table gives the screen back
  std::uint64_t advertisements_ = 0;
  std::uint64_t detections_ = 0;
  std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

}  // namespace nimbrel
