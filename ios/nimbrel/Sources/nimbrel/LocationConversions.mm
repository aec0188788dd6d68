#import "LocationConversions.h"

#import "FoundationConversions.h"

namespace nimbrel::ios {

PlatformBeaconRegion::PlatformBeaconRegion(::CLBeaconRegion* region)
    : CLBeaconRegion(uuidFrom([region UUID]), textFrom([region identifier])), object(region) {
  notifyOnEntry = [region notifyOnEntry];
  notifyOnExit = [region notifyOnExit];
  notifyEntryStateOnDisplay = [region notifyEntryStateOnDisplay];
}

std::shared_ptr<const CLRegion> regionFrom(::CLRegion* region) {
  if (region == nil) {
    return nullptr;
  }
  if ([region isKindOfClass:[::CLBeaconRegion class]]) {
    return std::make_shared<PlatformBeaconRegion>(static_cast<::CLBeaconRegion*>(region));
  }
  return std::make_shared<CLRegion>(textFrom([region identifier]));
}

::CLBeaconRegion* regionFrom(const CLBeaconRegion& region) {
  if (const auto* known = dynamic_cast<const PlatformBeaconRegion*>(&region)) {
    return known->object.get();
  }
  const auto made = Retained<::CLBeaconRegion*>::adopt([[::CLBeaconRegion alloc]
      initWithUUID:uuidFrom(region.uuid)
        identifier:stringFrom(region.identifier)]);
  [made.get() setNotifyOnEntry:region.notifyOnEntry];
  [made.get() setNotifyOnExit:region.notifyOnExit];
  [made.get() setNotifyEntryStateOnDisplay:region.notifyEntryStateOnDisplay];
  return made.autoreleased();
}

std::vector<CLBeacon> beaconsFrom(NSArray* beacons) {
  std::vector<CLBeacon> values;
  values.reserve([beacons count]);
  for (::CLBeacon* beacon in beacons) {
    values.push_back({.uuid = uuidFrom([beacon UUID]),
                      .major = [[beacon major] integerValue],
                      .minor = [[beacon minor] integerValue],
                      .rssi = [beacon rssi],
                      .accuracy = [beacon accuracy],
                      .proximity = CLProximity([beacon proximity])});
  }
  return values;
}

}  // namespace nimbrel::ios
