#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/phone/MainQueue.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// The command line of `nimbrel scan`.
struct ScanOptions {
  /// Absent: the bundled recording, or with `live` no recording at all.
  std::optional<std::string> capture;
  bool live = false;
  /// With `live`: the adapter's name; absent for the first one.
  std::optional<std::string> adapter;
  /// With `live`: the file that is written, and whether it may replace another.
  std::optional<std::string> recording;
  bool force = false;
  bool table = false;
  bool json = false;
  bool quiet = false;
  bool help = false;
  /// Times the recorded speed. Absent: as fast as the machine can.
  std::optional<double> speed;
  /// How much recorded (or real) time to scan.
  std::optional<MainQueue::Time> duration;
  /// Filter maps, as `startDetection` takes them.
  EncodableList filters;

  /// Throws UsageError. `arguments` begin with the command's name.
  static ScanOptions parse(int count, char** arguments);

  static std::string_view helpText();
};

}  // namespace nimbrel
