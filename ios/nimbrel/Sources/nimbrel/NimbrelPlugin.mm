#import "include/nimbrel/NimbrelPlugin.h"

#import "BluetoothConversions.h"
#import "CentralManagerBinding.h"
#import "ChannelConversions.h"
#include "Classes/NimbrelPlugin.hpp"
#import "FoundationConversions.h"
#import "LocationConversions.h"
#import "LocationManagerBinding.h"
#import "PlatformBinding.h"
#import "RegistrarBinding.h"
#import "Retained.h"

namespace ios = nimbrel::ios;

/// What the Objective-C object owns: the plug-in proper, and through it the phone beneath.
struct NimbrelPluginCore {
  explicit NimbrelPluginCore(NimbrelPlugin* object) {
    // Whoever lets go of the plug-in last, it goes before its platform.
    const auto platform = std::make_shared<ios::PlatformBinding>(object);
    plugin = {new nimbrel::NimbrelPlugin(*platform), [platform](auto* made) { delete made; }};
  }

  std::shared_ptr<nimbrel::NimbrelPlugin> plugin;
};

@implementation NimbrelPlugin

/// The plug-in, kept until the message that it is given has been handled: an answer may make the
/// application let go of the object.
static std::shared_ptr<nimbrel::NimbrelPlugin> pluginOf(NimbrelPlugin* object) {
  return object->_core->plugin;
}

+ (void)registerWithRegistrar:(NSObject<FlutterPluginRegistrar>*)registrar {
  ios::RegistrarBinding binding(registrar);
  nimbrel::NimbrelPlugin::registerWith(binding, [&binding] {
    const auto object = ios::Retained<NimbrelPlugin*>::adopt([[NimbrelPlugin alloc] init]);
    binding.setDelegate(object.get());
    return pluginOf(object.get());
  });
}

- (instancetype)init {
  self = [super init];
  if (self != nil) {
    _core = new NimbrelPluginCore(self);
  }
  return self;
}

- (void)dealloc {
  delete _core;
#if !__has_feature(objc_arc)
  [super dealloc];
#endif
}

#pragma mark - Channels

- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result {
  pluginOf(self)->handle(ios::callFrom(call), ios::resultFrom(result));
}

- (FlutterError*)onListenWithArguments:(id)arguments eventSink:(FlutterEventSink)events {
  return ios::flutterErrorFrom(
      pluginOf(self)->onListen(ios::argumentsFrom(arguments), ios::sinkFrom(events)));
}

- (FlutterError*)onCancelWithArguments:(id)arguments {
  return ios::flutterErrorFrom(pluginOf(self)->onCancel(ios::argumentsFrom(arguments)));
}

#pragma mark - Location

- (void)locationManager:(CLLocationManager*)manager
    didChangeAuthorizationStatus:(CLAuthorizationStatus)status {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerDidChangeAuthorization(reporting,
                                                        nimbrel::CLAuthorizationStatus(status));
}

- (void)locationManager:(CLLocationManager*)manager didEnterRegion:(CLRegion*)region {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerDidEnterRegion(reporting, *ios::regionFrom(region));
}

- (void)locationManager:(CLLocationManager*)manager didExitRegion:(CLRegion*)region {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerDidExitRegion(reporting, *ios::regionFrom(region));
}

- (void)locationManager:(CLLocationManager*)manager
        didRangeBeacons:(NSArray<CLBeacon*>*)beacons
               inRegion:(CLBeaconRegion*)region {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerDidRangeBeacons(reporting, ios::beaconsFrom(beacons),
                                                 ios::PlatformBeaconRegion(region));
}

- (void)locationManager:(CLLocationManager*)manager didFailWithError:(NSError*)error {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerDidFailWithError(reporting, ios::errorFrom(error));
}

- (void)locationManager:(CLLocationManager*)manager
    monitoringDidFailForRegion:(CLRegion*)region
                     withError:(NSError*)error {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerMonitoringDidFailFor(reporting, ios::regionFrom(region).get(),
                                                      ios::errorFrom(error));
}

- (void)locationManager:(CLLocationManager*)manager
    rangingBeaconsDidFailForRegion:(CLBeaconRegion*)region
                         withError:(NSError*)error {
  ios::LocationManagerBinding reporting(manager, self);
  pluginOf(self)->locationManagerRangingBeaconsDidFailFor(
      reporting, ios::PlatformBeaconRegion(region), ios::errorFrom(error));
}

#pragma mark - Bluetooth

- (void)centralManagerDidUpdateState:(CBCentralManager*)central {
  ios::CentralManagerBinding reporting(central);
  pluginOf(self)->centralManagerDidUpdateState(reporting);
}

- (void)centralManager:(CBCentralManager*)central
    didDiscoverPeripheral:(CBPeripheral*)peripheral
        advertisementData:(NSDictionary<NSString*, id>*)advertisementData
                     RSSI:(NSNumber*)RSSI {
  ios::CentralManagerBinding reporting(central);
  pluginOf(self)->centralManagerDidDiscover(reporting, ios::peripheralFrom(peripheral),
                                            ios::advertisementDataFrom(advertisementData),
                                            [RSSI doubleValue]);
}

@end
