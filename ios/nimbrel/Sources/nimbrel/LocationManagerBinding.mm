#import "LocationManagerBinding.h"

#import "LocationConversions.h"

// Ranging by region serves every system from 13.0 on. What follows it there reports through other
// messages, which the plug-in does not take.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

namespace nimbrel::ios {

void LocationManagerBinding::setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) {
  [manager_.get() setDelegate:delegate.expired() ? nil : receiver_];
}

void LocationManagerBinding::setDesiredAccuracy(double accuracy) {
  [manager_.get() setDesiredAccuracy:accuracy == kCLLocationAccuracyBest ? ::kCLLocationAccuracyBest
                                                                         : accuracy];
}

// Asked on systems from 14.0 on alone.
__attribute__((availability(ios, introduced = 14.0))) CLAuthorizationStatus
LocationManagerBinding::authorizationStatus() const {
  return CLAuthorizationStatus([manager_.get() authorizationStatus]);
}

void LocationManagerBinding::requestAlwaysAuthorization() {
  [manager_.get() requestAlwaysAuthorization];
}

void LocationManagerBinding::startMonitoringFor(const CLBeaconRegion& region) {
  [manager_.get() startMonitoringForRegion:regionFrom(region)];
}

void LocationManagerBinding::stopMonitoringFor(const CLBeaconRegion& region) {
  [manager_.get() stopMonitoringForRegion:regionFrom(region)];
}

void LocationManagerBinding::startRangingBeaconsIn(const CLBeaconRegion& region) {
  [manager_.get() startRangingBeaconsInRegion:regionFrom(region)];
}

void LocationManagerBinding::stopRangingBeaconsIn(const CLBeaconRegion& region) {
  [manager_.get() stopRangingBeaconsInRegion:regionFrom(region)];
}

std::vector<std::shared_ptr<const CLRegion>> LocationManagerBinding::monitoredRegions() const {
  std::vector<std::shared_ptr<const CLRegion>> regions;
  for (::CLRegion* region in [manager_.get() monitoredRegions]) {
    regions.push_back(regionFrom(region));
  }
  return regions;
}

}  // namespace nimbrel::ios
