#include "Classes/model/DetectionEvent.hpp"

#include <limits>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

namespace {

/// Adds an entry in place, so that no value is built twice.
template <typename T>
void append(EncodableMap& map, std::string_view key, T value) {
  EncodableEntry& entry = map.emplace_back();
  entry.key.emplace<std::string>(key);
  entry.value.emplace<T>(std::move(value));
}

}  // namespace

EncodableMap DetectionEvent::toMap() && {
  EncodableMap map;
  map.reserve(11);
  append(map, "ts", ts);
  append(map, "identifier", std::move(identifier));
  append(map, "uuid", std::move(uuid));
  append(map, "majorId", majorId);
  append(map, "minorId", minorId);
  append(map, "name", std::move(name));
  append(map, "mac", std::move(mac));
  append(map, "rssi", rssi);
  append(map, "txPower", txPower);
  append(map, "distance", distance);
  append(map, "proximity", std::string(proximity));
  return map;
}

std::int64_t timestampFrom(double secondsSince1970) {
  const double milliseconds = secondsSince1970 * 1000.0;
  constexpr double limit = 9223372036854775808.0;  // 2 to the power of 63
  if (!(milliseconds > -limit)) {
    return std::numeric_limits<std::int64_t>::min();
  }
  if (milliseconds >= limit) {
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

std::string_view proximityWord(double distance) {
  if (distance < 0.0) {
    return "unknown";
  }
  if (distance < 0.5) {
    return "immediate";
  }
  return distance < 4.0 ? "near" : "far";
}

std::int64_t NimbrelPlugin::currentTimestamp() const {
  return timestampFrom(platform.timeIntervalSince1970());
}

void NimbrelPlugin::postDetectionEvent(EncodableMap event) {
  platform.dispatchMainAsync([weak = weak_from_this(), map = std::move(event)]() mutable {
    const std::shared_ptr<NimbrelPlugin> plugin = weak.lock();
    if (plugin != nullptr && plugin->eventSink) {
      // A copy, because the application may stop listening while it takes the event.
      const FlutterEventSink sink = plugin->eventSink;
      sink(EncodableValue(std::move(map)));
    }
  });
}

}  // namespace nimbrel
