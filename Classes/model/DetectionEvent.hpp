#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/CoreLocation.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// The power in dBm that a beacon is taken to have at one metre where its frame does not say.
inline constexpr double kDefaultTxPower = -59.0;

/// One detection, as the application receives it.
struct DetectionEvent {
  std::int64_t ts = 0;     // milliseconds since 1970-01-01 00:00:00 UTC
  std::string identifier;  // of the source: a label, a region or a device
  std::string uuid;        // UUID text
  std::int64_t majorId = -1;
  std::int64_t minorId = -1;
  std::string name;
  std::string mac;
  double rssi = 0.0;                 // dBm
  double txPower = kDefaultTxPower;  // dBm at one metre
  double distance = -1.0;            // metres; negative where it is unknown
  std::string_view proximity;        // a proximity word

  /// The map that goes over the event channel: eleven keys, none of them null.
  [[nodiscard]] EncodableMap toMap() &&;
};

/// Milliseconds since 1970 of a wall-clock reading in seconds, rounded toward zero.
std::int64_t timestampFrom(double secondsSince1970);

/// The proximity word of the location service's class: "immediate", "near", "far" or "unknown".
std::string_view proximityWord(CLProximity proximity);

/// The class of a distance in metres; a negative one is unknown.
CLProximity proximityOf(double distance);

/// The proximity word of a distance in metres. One that is not a number is far.
std::string_view proximityWord(double distance);

}  // namespace nimbrel
