#import <CoreLocation/CoreLocation.h>

#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "ios/nimbrel/Sources/nimbrel/LocationConversions.h"
#include "tests/frameworks/Device.h"

using nimbrel::fakes::Device;
using nimbrel::fakes::record;
namespace ios = nimbrel::ios;

// Not the number that the plug-in's own constant has, so that a mix-up shows.
const CLLocationAccuracy kCLLocationAccuracyBest = -17.0;

@implementation CLRegion
@synthesize identifier = _identifier, notifyOnEntry = _notifyOnEntry, notifyOnExit = _notifyOnExit;

- (instancetype)initWithIdentifier:(NSString*)identifier {
  self = [super init];
  _identifier = [identifier copy];
  return self;
}

- (void)dealloc {
  [_identifier release];
  [super dealloc];
}
@end

@implementation CLBeaconRegion
@synthesize UUID = _UUID, notifyEntryStateOnDisplay = _notifyEntryStateOnDisplay;

- (instancetype)initWithUUID:(NSUUID*)uuid identifier:(NSString*)identifier {
  self = [super initWithIdentifier:identifier];
  _UUID = [uuid copy];
  return self;
}

- (void)dealloc {
  [_UUID release];
  [super dealloc];
}
@end

@implementation CLBeacon
- (NSUUID*)UUID {
  return ios::uuidFrom(_beacon.uuid);
}

- (NSNumber*)major {
  return [NSNumber numberWithLongLong:_beacon.major];
}

- (NSNumber*)minor {
  return [NSNumber numberWithLongLong:_beacon.minor];
}

- (CLProximity)proximity {
  return CLProximity(_beacon.proximity);
}

- (CLLocationAccuracy)accuracy {
  return _beacon.accuracy;
}

- (NSInteger)rssi {
  return _beacon.rssi;
}
@end

namespace nimbrel::fakes {

namespace {

::CLRegion* objectFrom(const CLRegion& region) {
  if (const auto* beaconRegion = dynamic_cast<const CLBeaconRegion*>(&region)) {
    return ios::regionFrom(*beaconRegion);
  }
  return [[[::CLRegion alloc] initWithIdentifier:ios::stringFrom(region.identifier)] autorelease];
}

::NSError* objectFrom(const NSError& error) {
  NSString* text = ios::stringFrom(error.localizedDescription);
  return [::NSError errorWithDomain:@"kCLErrorDomain"
                               code:0
                           userInfo:[NSDictionary dictionaryWithObject:text
                                                                forKey:NSLocalizedDescriptionKey]];
}

/// Sends the delegate of a manager what the service reports.
class LocationReporter final : public CLLocationManagerDelegate {
 public:
  explicit LocationReporter(::CLLocationManager* manager) : manager_(manager) {}

  void locationManagerDidChangeAuthorization(CLLocationManager& /*manager*/,
                                             CLAuthorizationStatus status) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_
            didChangeAuthorizationStatus:static_cast<::CLAuthorizationStatus>(status)];
    }
  }
  void locationManagerDidEnterRegion(CLLocationManager& /*manager*/,
                                     const CLRegion& region) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_ didEnterRegion:objectFrom(region)];
    }
  }
  void locationManagerDidExitRegion(CLLocationManager& /*manager*/,
                                    const CLRegion& region) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_ didExitRegion:objectFrom(region)];
    }
  }
  void locationManagerDidRangeBeacons(CLLocationManager& /*manager*/,
                                      const std::vector<CLBeacon>& beacons,
                                      const CLBeaconRegion& region) override {
    @autoreleasepool {
      NSMutableArray* objects = [NSMutableArray array];
      for (const CLBeacon& beacon : beacons) {
        ::CLBeacon* object = [[[::CLBeacon alloc] init] autorelease];
        object->_beacon = beacon;
        [objects addObject:object];
      }
      [manager_.delegate locationManager:manager_
                         didRangeBeacons:objects
                                inRegion:ios::regionFrom(region)];
    }
  }
  void locationManagerDidFailWithError(CLLocationManager& /*manager*/,
                                       const NSError& error) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_ didFailWithError:objectFrom(error)];
    }
  }
  void locationManagerMonitoringDidFailFor(CLLocationManager& /*manager*/, const CLRegion* region,
                                           const NSError& error) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_
              monitoringDidFailForRegion:region != nullptr ? objectFrom(*region) : nil
                               withError:objectFrom(error)];
    }
  }
  void locationManagerRangingBeaconsDidFailFor(CLLocationManager& /*manager*/,
                                               const CLBeaconRegion& region,
                                               const NSError& error) override {
    @autoreleasepool {
      [manager_.delegate locationManager:manager_
          rangingBeaconsDidFailForRegion:ios::regionFrom(region)
                               withError:objectFrom(error)];
    }
  }

 private:
  ::CLLocationManager* manager_;
};

}  // namespace

}  // namespace nimbrel::fakes

/// A set that iterates in the order of the service, so that every run is the same.
@interface RegionSet : NSSet {
  NSMutableArray* _regions;
}
@end

@implementation RegionSet
- (instancetype)initWithRegions:
    (const std::vector<std::shared_ptr<const nimbrel::CLRegion>>&)regions {
  self = [super init];
  _regions = [[NSMutableArray alloc] init];
  for (const auto& region : regions) {
    [_regions addObject:nimbrel::fakes::objectFrom(*region)];
  }
  return self;
}

- (void)dealloc {
  [_regions release];
  [super dealloc];
}

- (NSUInteger)count {
  return [_regions count];
}

- (NSEnumerator*)objectEnumerator {
  return [_regions objectEnumerator];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id*)buffer
                                    count:(NSUInteger)length {
  return [_regions countByEnumeratingWithState:state objects:buffer count:length];
}
@end

@implementation CLLocationManager
@synthesize lastRegion = _lastRegion;

- (instancetype)init {
  self = [super init];
  record(self, _cmd);
  ++Device::current().liveManagers;
  _service = Device::current().platform.makeLocationManager();
  if (_service == nullptr) {
    [self release];
    return nil;
  }
  _reporter = std::make_shared<nimbrel::fakes::LocationReporter>(self);
  _service->setDelegate(_reporter);
  return self;
}

- (void)dealloc {
  --Device::current().liveManagers;
  [_lastRegion release];
  [super dealloc];
}

- (id<CLLocationManagerDelegate>)delegate {
  return _delegate;
}

- (void)setDelegate:(id<CLLocationManagerDelegate>)delegate {
  record(self, _cmd);
  _delegate = delegate;
}

- (CLLocationAccuracy)desiredAccuracy {
  return _desiredAccuracy;
}

- (void)setDesiredAccuracy:(CLLocationAccuracy)accuracy {
  record(self, _cmd);
  _desiredAccuracy = accuracy;
}

+ (CLAuthorizationStatus)authorizationStatus {
  return CLAuthorizationStatus(Device::current().platform.authorizationStatus());
}

- (CLAuthorizationStatus)authorizationStatus {
  return CLAuthorizationStatus(_service->authorizationStatus());
}

- (void)requestAlwaysAuthorization {
  _service->requestAlwaysAuthorization();
}

- (NSSet*)monitoredRegions {
  return [[[RegionSet alloc] initWithRegions:_service->monitoredRegions()] autorelease];
}

- (void)startMonitoringForRegion:(CLRegion*)region {
  self.lastRegion = static_cast<CLBeaconRegion*>(region);
  _service->startMonitoringFor(ios::PlatformBeaconRegion(self.lastRegion));
}

- (void)stopMonitoringForRegion:(CLRegion*)region {
  self.lastRegion = static_cast<CLBeaconRegion*>(region);
  _service->stopMonitoringFor(ios::PlatformBeaconRegion(self.lastRegion));
}

- (void)startRangingBeaconsInRegion:(CLBeaconRegion*)region {
  self.lastRegion = region;
  _service->startRangingBeaconsIn(ios::PlatformBeaconRegion(region));
}

- (void)stopRangingBeaconsInRegion:(CLBeaconRegion*)region {
  self.lastRegion = region;
  _service->stopRangingBeaconsIn(ios::PlatformBeaconRegion(region));
}
@end
