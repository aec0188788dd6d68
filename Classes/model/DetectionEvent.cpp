#include "Classes/model/DetectionEvent.hpp"

#include <limits>
#include <utility>

namespace nimbrel {

EncodableMap DetectionEvent::toMap() && {
  EncodableMap map;
  map.reserve(11);
  map.emplace_back("ts", ts);
  map.emplace_back("identifier", std::move(identifier));
  map.emplace_back("uuid", uuid);
  map.emplace_back("majorId", majorId);
  map.emplace_back("minorId", minorId);
  map.emplace_back("name", std::move(name));
  map.emplace_back("mac", mac);
  map.emplace_back("rssi", rssi);
  map.emplace_back("txPower", txPower);
  map.emplace_back("distance", distance);
  map.emplace_back("proximity", PlainText(proximity));
  return map;
}

std::int64_t timestampFrom(double secondsSince1970) {
  const double milliseconds = secondsSince1970 * 1000.0;
  constexpr double kLimit = 9223372036854775808.0;  // 2 to the power of 63
  if (!(milliseconds > -kLimit)) {
    return std::numeric_limits<std::int64_t>::min();
  }
  if (milliseconds >= kLimit) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return static_cast<std::int64_t>(milliseconds);
}

std::string_view proximityWord(CLProximity proximity) {
  switch (proximity) {
    case CLProximity::immediate:
      return "immediate";
    case CLProximity::near:
      return "near";
    case CLProximity::far:
      return "far";
    case CLProximity::unknown:
      break;
  }
  return "unknown";
}

CLProximity proximityOf(double distance) {
  if (distance < 0.0) {
    return CLProximity::unknown;
  }
  if (distance < kNearFrom) {
    return CLProximity::immediate;
  }
  return distance < kFarFrom ? CLProximity::near : CLProximity::far;
}

std::string_view proximityWord(double distance) { return proximityWord(proximityOf(distance)); }

}  // namespace nimbrel
