#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

void NimbrelPlugin::locationManagerDidEnterRegion(CLLocationManager& manager,
                                                  const CLRegion& region) {
  if (const auto* beaconRegion = dynamic_cast<const CLBeaconRegion*>(&region)) {
    manager.startRangingBeaconsIn(*beaconRegion);
  }
}

void NimbrelPlugin::locationManagerDidExitRegion(CLLocationManager& manager,
                                                 const CLRegion& region) {
  if (const auto* beaconRegion = dynamic_cast<const CLBeaconRegion*>(&region)) {
    manager.stopRangingBeaconsIn(*beaconRegion);
  }
}

void NimbrelPlugin::locationManagerDidFailWithError(CLLocationManager& /*manager*/,
                                                    const NSError& error) {
  log("Location manager failed with error: ", error.localizedDescription);
}

void NimbrelPlugin::locationManagerMonitoringDidFailFor(CLLocationManager& /*manager*/,
                                                        const CLRegion* region,
                                                        const NSError& error) {
  const std::string_view identifier =
      region != nullptr ? std::string_view(region->identifier) : "unknown";
  log("Monitoring failed for region: ", identifier, " with error: ", error.localizedDescription);
}

void NimbrelPlugin::locationManagerRangingBeaconsDidFailFor(CLLocationManager& /*manager*/,
                                                            const CLBeaconRegion& region,
                                                            const NSError& error) {
  log("Ranging failed for region: ", region.identifier,
      " with error: ", error.localizedDescription);
}

}  // namespace nimbrel
