#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/cli/CommandLine.hpp"
#include "host/cli/Recording.hpp"
#include "host/phone/Phone.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// The source of advertisements: recordings, or an adapter of this machine.
struct AirOptions {
  /// Files, or "-" for the standard input. None: the bundled recording, or with `live` no
  /// recording.
  std::vector<std::string> captures;
  bool live = false;
  /// With `live`: the adapter's name; absent for the first one.
  std::optional<std::string> adapter;
  /// Times the recorded speed. Absent: as fast as the machine can.
  std::optional<double> speed;

  /// CAPTURE, `mostCaptures` at most, --live, --adapter and --speed.
  void addTo(CommandLine& line, std::size_t mostCaptures = 1);
  /// Refuses options that do not go together. Throws UsageError.
  void checkTogether() const;
};

/// The options of every command that runs the plug-in over recordings or an adapter.
struct RunOptions : AirOptions {
  /// Filter maps, as `startDetection` takes them.
  EncodableList filters;
  /// How much recorded (or real) time to run.
  std::optional<MainQueue::Time> duration;
  /// Whether the phone keeps iBeacon frames from Bluetooth scans, as an iPhone does.
  bool withholdsBeacons = false;
  /// With `live`: the file that is written, and whether it may replace another.
  std::optional<std::string> recording;
  bool force = false;
  Rotation rotation;
  /// Times in UTC in place of the machine's zone.
  bool utc = false;

  /// Those of AirOptions, --for, --phone, --utc, --record, --force and --record-rotate. --filter is
  /// added apart, as it comes first in the help. `written` names the options whose files --force
  /// replaces.
  void addTo(CommandLine& line, const std::string& written = "--record");
  /// Refuses options that do not go together; `writesFile` says whether there is a file that
  /// --force may be about besides the recording. Throws UsageError.
  void checkTogether(bool writesFile = false) const;

  [[nodiscard]] Phone::Setup phone() const;
  /// The part of a command line that makes another command run the same, each word behind a blank
  /// and quoted for a shell if it has to be.
  [[nodiscard]] std::string sameArguments() const;
};

// Options that mean the same in every command that has them.

/// --filter: appends filter maps, as `startDetection` takes them.
void addFilters(CommandLine& line, EncodableList& filters);

/// An option `name` whose value is a time in seconds, above 0.
void addSeconds(CommandLine& line, const std::string& name, const std::string& help,
                std::optional<MainQueue::Time>& time);

/// --phone: whether the phone keeps iBeacon frames from Bluetooth scans.
void addPhone(CommandLine& line, bool& withholdsBeacons);

/// --force: whether an output may replace a file that is there. `owner` names that output.
void addForce(CommandLine& line, const std::string& owner, bool& force);

/// The filter map of UUID[/MAJOR[/MINOR]][=LABEL]. The UUID's hyphens may be left out. Throws
/// UsageError.
EncodableValue parseFilter(const std::string& text);

}  // namespace nimbrel
