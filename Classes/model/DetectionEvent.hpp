#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/CoreLocation.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// The measured power in dBm at one metre that is assumed if no frame states one.
inline constexpr double kDefaultTxPower = -59.0;

/// One detection, as the application receives it. The defaults stand for values that are not known.
struct DetectionEvent {
  std::int64_t ts = 0;  // milliseconds since 1970-01-01 00:00:00 UTC
  /// A text: a filter's label, or the identifier of a region or a device.
  EncodableValue identifier = PlainText();
  PlainText uuid;  // UUID text
  std::int64_t majorId = -1;
  std::int64_t minorId = -1;
  std::string name;
  PlainText mac;
  double rssi = 0.0;                 // dBm
  double txPower = kDefaultTxPower;  // dBm at one metre
  double distance = -1.0;            // metres; negative if not known
  std::string_view proximity;        // a proximity word

  /// The map that goes over the event channel: always all eleven keys, no null values.
  [[nodiscard]] EncodableMap toMap() &&;
};

/// Converts a wall-clock reading in seconds since 1970 to milliseconds, rounded toward zero. What
/// 64 bits cannot hold becomes the nearest value that they can; not a number becomes the lowest.
std::int64_t timestampFrom(double secondsSince1970);

/// The word for a proximity class: "immediate", "near", "far" or, for every other value, "unknown".
std::string_view proximityWord(CLProximity proximity);

/// The distances in metres at which the classes near and far begin; what is nearer is immediate.
inline constexpr double kNearFrom = 0.5;
inline constexpr double kFarFrom = 4.0;

/// The proximity class of a distance in metres. A negative one is unknown, not a number is far.
CLProximity proximityOf(double distance);

/// The word for the proximity class of a distance in metres.
std::string_view proximityWord(double distance);

}  // namespace nimbrel
