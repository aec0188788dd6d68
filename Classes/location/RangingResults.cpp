#include <algorithm>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/model/DetectionEvent.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

void NimbrelPlugin::locationManagerDidRangeBeacons(CLLocationManager& /*manager*/,
                                                   const std::vector<CLBeacon>& beacons,
                                                   const CLBeaconRegion& region) {
  for (const CLBeacon& beacon : beacons) {
    sendBeaconData(beacon, region);
  }
}

void NimbrelPlugin::sendBeaconData(const CLBeacon& beacon, const CLBeaconRegion& region) {
  DetectionEvent event;
  event.ts = currentTimestamp();
  const UuidText uuidText(beacon.uuid);
  const std::string_view uuid = uuidText;
  const auto filter = std::find_if(
      currentBeaconFilters.begin(), currentBeaconFilters.end(),
      [&](const auto& each) { return each.accepts(uuid, beacon.major, beacon.minor); });
  if (filter == currentBeaconFilters.end()) {
    log("🚫 Beacon UUID=", uuid.substr(0, 8), "..., Major=", beacon.major, ", Minor=", beacon.minor);
    return;
  }
  log(filter->fullDescription("✅ Beacon matches filter: "));

  // Unlike in the region set-up, an empty label counts as a label here.
  event.identifier = filter->identifier().value_or(region.identifier);
  event.uuid = PlainText(uuid);
  event.majorId = beacon.major;
  event.minorId = beacon.minor;
  event.name = filter->identifier().value_or("");
  event.rssi = static_cast<double>(beacon.rssi);
  event.distance = beacon.accuracy;
  event.proximity = proximityWord(beacon.proximity);
  postDetectionEvent(std::move(event).toMap());
}

}  // namespace nimbrel
