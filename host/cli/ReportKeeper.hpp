#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "host/base/Output.hpp"
#include "host/cli/ReportOptions.hpp"
#include "host/findings/Findings.hpp"
#include "host/findings/Lanes.hpp"
#include "host/findings/ReportJson.hpp"
#include "host/findings/Series.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel {

/// Keeps what a report needs besides the findings, and writes it. `at` is the run's time; a device
/// is its place among the findings' devices.
class ReportKeeper {
 public:
  using Time = MainQueue::Time;

  /// `options` outlive the keeper.
  explicit ReportKeeper(const ReportOptions& options) : options_(options) {}

  /// The phone's wall clock, since 1970.
  static std::chrono::microseconds clockOf(const Phone& phone);

  /// The run starts with the phone as it is.
  void start(Phone& phone);
  void heard(std::size_t device, Time at, std::int8_t rssi) { series_.heard(device, at, rssi); }
  void detected(std::optional<std::size_t> device, Time at, const EncodableMap& event);
  void clockJumped(const ClockJump& jump, Time at) { jumps_.push_back({at, jump}); }
  Lanes& lanes() { return lanes_; }

  /// Writes the page, or its data if the options ask for that. Throws std::system_error if the
  /// output cannot be written.
  void write(const Findings& findings, Time end, std::string_view kind,
             std::uint64_t damagedPackets, Output& output);

 private:
  const ReportOptions& options_;
  Series series_;
  Lanes lanes_;
  std::chrono::microseconds begin_{};
  std::vector<Report::Jump> jumps_;
};

}  // namespace nimbrel
