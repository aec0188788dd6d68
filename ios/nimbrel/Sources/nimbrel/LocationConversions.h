#pragma once

#import <CoreLocation/CoreLocation.h>

#include <memory>
#include <vector>

#import "Retained.h"
#include "platform/CoreLocation.hpp"

namespace nimbrel::ios {

/// A beacon region that came from the location service, and goes back to it as the very same
/// object.
struct PlatformBeaconRegion final : CLBeaconRegion {
  explicit PlatformBeaconRegion(::CLBeaconRegion* region);

  Retained<::CLBeaconRegion*> object;
};

/// Null for nil; a beacon region is told from other regions by its class.
std::shared_ptr<const CLRegion> regionFrom(::CLRegion* region);
::CLBeaconRegion* regionFrom(const CLBeaconRegion& region);

std::vector<CLBeacon> beaconsFrom(NSArray* beacons);

}  // namespace nimbrel::ios
