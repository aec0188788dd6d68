#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/WallClock.hpp"
#include "host/findings/Findings.hpp"

namespace nimbrel {

/// An explanation for somebody who looks for a missing detection.
struct Reason {
  /// A few words for all devices with the same reason, to follow "devices: ".
  std::string_view topic;
  /// Whole sentences that name what to change.
  std::string sentence;
  /// Whether things are as they should be, and nothing needs to change.
  bool isHarmless = false;
};

/// How interesting a device is to the reader.
enum class Rank : std::uint8_t { missed, detected, other };

/// Each fate of a device that is not an event, and what may surprise about it; the chief reason
/// first.
std::vector<Reason> reasonsFor(const Findings& findings, const FoundDevice& device);

/// How a real iPhone would treat a device differently from this run.
std::vector<std::string> onIPhone(const Findings& findings, const FoundDevice& device);

/// What was asked for and not detected, and what concerns the whole run.
std::vector<std::string> reasonsForRun(const Findings& findings, const WallClock& clock);

Rank rankOf(const Findings& findings, const FoundDevice& device);

/// A filter as the command line has it: UUID[/MAJOR[/MINOR]][=LABEL]; with another UUID if one
/// is given.
std::string filterText(const EncodableMap& filter, const std::optional<UUID>& other = {});

/// "1 time", "2 times"
std::string counted(std::uint64_t count, std::string_view noun);

}  // namespace nimbrel
