#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "platform/CoreLocation.hpp"

typedef NS_ENUM(int, CLAuthorizationStatus) {
  kCLAuthorizationStatusNotDetermined,
  kCLAuthorizationStatusRestricted,
  kCLAuthorizationStatusDenied,
  kCLAuthorizationStatusAuthorizedAlways,
  kCLAuthorizationStatusAuthorizedWhenInUse,
};

typedef NS_ENUM(NSInteger, CLProximity) {
  CLProximityUnknown,
  CLProximityImmediate,
  CLProximityNear,
  CLProximityFar,
};

typedef double CLLocationAccuracy;
extern const CLLocationAccuracy kCLLocationAccuracyBest;

@interface CLRegion : NSObject {
  NSString* _identifier;
  BOOL _notifyOnEntry;
  BOOL _notifyOnExit;
}
@property(readonly) NSString* identifier;
@property BOOL notifyOnEntry;
@property BOOL notifyOnExit;
// The phone makes regions of its subclasses alone.
- (instancetype)initWithIdentifier:(NSString*)identifier;
@end

@interface CLBeaconRegion : CLRegion {
  NSUUID* _UUID;
  BOOL _notifyEntryStateOnDisplay;
}
@property(readonly) NSUUID* UUID;
@property BOOL notifyEntryStateOnDisplay;
- (instancetype)initWithUUID:(NSUUID*)uuid identifier:(NSString*)identifier;
@end

@interface CLBeacon : NSObject {
 @public
  nimbrel::CLBeacon _beacon;
}
- (NSUUID*)UUID;
- (NSNumber*)major;
- (NSNumber*)minor;
- (CLProximity)proximity;
- (CLLocationAccuracy)accuracy;
- (NSInteger)rssi;
@end

@protocol CLLocationManagerDelegate;

@interface CLLocationManager : NSObject {
  std::unique_ptr<nimbrel::CLLocationManager> _service;
  std::shared_ptr<nimbrel::CLLocationManagerDelegate> _reporter;
  id<CLLocationManagerDelegate> _delegate;
  CLLocationAccuracy _desiredAccuracy;
  CLBeaconRegion* _lastRegion;
}
@property(assign) id<CLLocationManagerDelegate> delegate;
@property CLLocationAccuracy desiredAccuracy;
/// The region of the last request.
@property(retain) CLBeaconRegion* lastRegion;
- (NSSet*)monitoredRegions;
+ (CLAuthorizationStatus)authorizationStatus;
- (CLAuthorizationStatus)authorizationStatus;
- (void)requestAlwaysAuthorization;
- (void)startMonitoringForRegion:(CLRegion*)region;
- (void)stopMonitoringForRegion:(CLRegion*)region;
- (void)startRangingBeaconsInRegion:(CLBeaconRegion*)region;
- (void)stopRangingBeaconsInRegion:(CLBeaconRegion*)region;
@end

@protocol CLLocationManagerDelegate <NSObject>
@optional
- (void)locationManager:(CLLocationManager*)manager
    didChangeAuthorizationStatus:(CLAuthorizationStatus)status;
- (void)locationManager:(CLLocationManager*)manager didEnterRegion:(CLRegion*)region;
- (void)locationManager:(CLLocationManager*)manager didExitRegion:(CLRegion*)region;
- (void)locationManager:(CLLocationManager*)manager
        didRangeBeacons:(NSArray*)beacons
               inRegion:(CLBeaconRegion*)region;
- (void)locationManager:(CLLocationManager*)manager didFailWithError:(NSError*)error;
- (void)locationManager:(CLLocationManager*)manager
    monitoringDidFailForRegion:(CLRegion*)region
                     withError:(NSError*)error;
- (void)locationManager:(CLLocationManager*)manager
    rangingBeaconsDidFailForRegion:(CLBeaconRegion*)region
                         withError:(NSError*)error;
@end
