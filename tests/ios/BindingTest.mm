#import <objc/runtime.h>

#include <climits>
#include <cstdlib>
#include <set>
#include <utility>

#include "ios/nimbrel/Sources/nimbrel/CentralManagerBinding.h"
#include "ios/nimbrel/Sources/nimbrel/ChannelConversions.h"
#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "ios/nimbrel/Sources/nimbrel/LocationManagerBinding.h"
#include "tests/ios/World.h"

namespace nimbrel {
namespace {

NSDictionary* dictionary(id value, NSString* key) {
  return [NSDictionary dictionaryWithObject:value forKey:key];
}

NSUUID* uuid(NSString* text) { return [[[NSUUID alloc] initWithUUIDString:text] autorelease]; }

::NSError* error(NSString* text) {
  return [::NSError errorWithDomain:@"kCLErrorDomain"
                               code:1
                           userInfo:dictionary(text, NSLocalizedDescriptionKey)];
}

/// The arguments of a start with one filter, of a known UUID and, if one is given, a major.
NSDictionary* filterArguments(id major = nil) {
  NSMutableDictionary* filter =
      [NSMutableDictionary dictionaryWithObject:@"e2c56db5-dffb-48d2-b060-d0f5a71096e0"
                                         forKey:@"uuid"];
  if (major != nil) {
    [filter setObject:major forKey:@"majorId"];
  }
  return dictionary([NSArray arrayWithObject:filter], @"filters");
}

std::set<std::string> methodsOf(Class cls) {
  unsigned count = 0;
  Method* methods = class_copyMethodList(cls, &count);
  std::set<std::string> names;
  for (unsigned index = 0; index < count; ++index) {
    names.insert(sel_getName(method_getName(methods[index])));
  }
  std::free(methods);
  return names;
}

std::set<std::string> protocolsOf(Class cls) {
  unsigned count = 0;
  Protocol** protocols = class_copyProtocolList(cls, &count);
  std::set<std::string> names;
  for (unsigned index = 0; index < count; ++index) {
    names.insert(protocol_getName(protocols[index]));
  }
  std::free(protocols);
  return names;
}

class Binding : public World {
 protected:
  ::CLLocationManager* manager = [[[::CLLocationManager alloc] init] autorelease];
  ::CLBeaconRegion* door =
      [[[::CLBeaconRegion alloc] initWithUUID:uuid(@"e2c56db5-dffb-48d2-b060-d0f5a71096e0")
                                   identifier:@"door"] autorelease];
  ::CLRegion* garden = [[[::CLRegion alloc] initWithIdentifier:@"garden"] autorelease];
};

TEST_F(Binding, RespondsToExactlyTheMessagesOfTheSystem) {
  EXPECT_EQ(methodsOf([NimbrelPlugin class]),
            (std::set<std::string>{
                "init", "dealloc", "handleMethodCall:result:", "onListenWithArguments:eventSink:",
                "onCancelWithArguments:", "locationManager:didChangeAuthorizationStatus:",
                "locationManager:didEnterRegion:", "locationManager:didExitRegion:",
                "locationManager:didRangeBeacons:inRegion:", "locationManager:didFailWithError:",
                "locationManager:monitoringDidFailForRegion:withError:",
                "locationManager:rangingBeaconsDidFailForRegion:withError:",
                "centralManagerDidUpdateState:",
                "centralManager:didDiscoverPeripheral:advertisementData:RSSI:"}));
  EXPECT_EQ(methodsOf(object_getClass([NimbrelPlugin class])),
            std::set<std::string>{"registerWithRegistrar:"});
  EXPECT_TRUE([NimbrelPlugin superclass] == [NSObject class]);
  EXPECT_EQ(protocolsOf([NimbrelPlugin class]),
            (std::set<std::string>{"FlutterPlugin", "FlutterStreamHandler",
                                   "CLLocationManagerDelegate", "CBCentralManagerDelegate"}));
}

TEST_F(World, RegistersInTheOrderOfTheSteps) {
  EXPECT_EQ(
      device.messages,
      (Trace{
          "EngineRegistrar messenger",
          "FlutterMethodChannel methodChannelWithName:binaryMessenger:",
          "EngineRegistrar messenger", "FlutterEventChannel eventChannelWithName:binaryMessenger:",
          "EngineRegistrar addMethodCallDelegate:channel:", "FlutterEventChannel setStreamHandler:",
          "CLLocationManager init", "CLLocationManager setDelegate:",
          "CLLocationManager setDesiredAccuracy:", "CBCentralManager initWithDelegate:queue:"}));
}

TEST_F(Binding, AsksForTheBestAccuracyByThePlatformsOwnConstant) {
  ios::LocationManagerBinding binding(manager, plugin);
  binding.setDesiredAccuracy(kCLLocationAccuracyBest);
  EXPECT_EQ(manager.desiredAccuracy, ::kCLLocationAccuracyBest);
  binding.setDesiredAccuracy(100.0);
  EXPECT_EQ(manager.desiredAccuracy, 100.0);
}

TEST_F(Binding, AnswersWithFoundationsObjects) {
  EXPECT_TRUE([answerTo(@"checkPermissionStatus") isEqual:@"AUTHORIZED"]);
  EXPECT_EQ(ios::valueFrom(answerTo(@"requestPermissions")), EncodableValue(true));
  EXPECT_TRUE(answerTo(@"StopDetection") == ::FlutterMethodNotImplemented);
}

TEST_F(Binding, TakesOnlyBooleansForBooleans) {
  const std::pair<id, bool> cases[] = {
      {[NSNumber numberWithBool:YES], true},
      {[NSNumber numberWithBool:NO], true},
      {[NSNumber numberWithInt:1], false},
      {[NSNumber numberWithInt:0], false},
      {[NSNumber numberWithDouble:1.0], false},
      {[NSNull null], false},
      {@"true", false},
      {[NSData dataWithBytes:"\1" length:1], false},
      {[NSArray arrayWithObject:[NSNumber numberWithBool:YES]], false},
      {[NSDictionary dictionary], false},
  };
  for (const auto& [value, isTaken] : cases) {
    EXPECT_EQ(ios::valueFrom(answerTo(@"updateConfig", dictionary(value, @"isInForeground"))),
              EncodableValue(isTaken))
        << [[value description] UTF8String];
  }
}

TEST_F(Binding, RefusesArgumentsThatAreNoMapOfTextKeys) {
  NSNumber* yes = [NSNumber numberWithBool:YES];
  const id cases[] = {nil,
                      [NSNull null],
                      yes,
                      @"isInForeground",
                      [NSArray arrayWithObject:yes],
                      [NSData data],
                      [NSDictionary dictionaryWithObjectsAndKeys:yes, @"isInForeground", yes,
                                                                 [NSNumber numberWithInt:1], nil]};
  for (id arguments : cases) {
    EXPECT_EQ(ios::valueFrom(answerTo(@"updateConfig", arguments)), EncodableValue(false))
        << [[arguments description] UTF8String];
  }
}

TEST_F(Binding, TakesNumbersThatAreWholeForAMajor) {
  const std::pair<id, const char*> cases[] = {
      {[NSNumber numberWithInt:7], " Major:7"},
      {[NSNumber numberWithDouble:7.0], " Major:7"},
      {[NSNumber numberWithLongLong:LLONG_MAX], " Major:9223372036854775807"},
      {[NSNumber numberWithLongLong:LLONG_MIN], " Major:-9223372036854775808"},
      {[NSNumber numberWithUnsignedLongLong:ULLONG_MAX], ""},
      {[NSNumber numberWithDouble:7.5], ""},
      {[NSNumber numberWithBool:YES], ""},
      {@"7", ""},
  };
  for (const auto& [major, shown] : cases) {
    NSDictionary* arguments = filterArguments(major);
    EXPECT_EQ(traceOf([&] { answerTo(@"startDetection", arguments); }).front(),
              std::string("📍 Added filter: UUID: E2C56DB5...") + shown);
  }
}

TEST_F(Binding, PassesOnEachMessageOfTheLocationManager) {
  const std::pair<std::function<void()>, Trace> cases[] = {
      {[&] { [plugin locationManager:manager didEnterRegion:door]; }, {"startRangingBeacons door"}},
      {[&] { [plugin locationManager:manager didExitRegion:door]; }, {"stopRangingBeacons door"}},
      {[&] { [plugin locationManager:manager didEnterRegion:garden]; }, {}},
      {[&] { [plugin locationManager:manager didExitRegion:garden]; }, {}},
      {[&] { [plugin locationManager:manager didFailWithError:error(@"señal perdida")]; },
       {"Location manager failed with error: señal perdida"}},
      {[&] {
         [plugin locationManager:manager monitoringDidFailForRegion:garden withError:error(@"no")];
       },
       {"Monitoring failed for region: garden with error: no"}},
      {[&] {
         [plugin locationManager:manager monitoringDidFailForRegion:nil withError:error(@"no")];
       },
       {"Monitoring failed for region: unknown with error: no"}},
      {[&] {
         [plugin locationManager:manager
             rangingBeaconsDidFailForRegion:door
                                  withError:error(@"no")];
       },
       {"Ranging failed for region: door with error: no"}},
      {[&] { [plugin locationManager:manager didRangeBeacons:[NSArray array] inRegion:door]; }, {}},
  };
  for (const auto& [message, trace] : cases) {
    EXPECT_EQ(traceOf(message), trace);
  }
}

TEST_F(Binding, HandsAPlatformsRegionBackAsTheVeryObject) {
  [plugin locationManager:manager didEnterRegion:door];
  EXPECT_TRUE(manager.lastRegion == door);
}

TEST_F(Binding, AnswersAPermissionRequestWhenTheUserHasDecided) {
  phone.location().changeAuthorization(CLAuthorizationStatus::notDetermined);
  NSMutableArray* answers = [NSMutableArray array];
  const auto request = [&] {
    [plugin handleMethodCall:[::FlutterMethodCall methodCallWithMethodName:@"requestPermissions"
                                                                 arguments:nil]
                      result:^(id value) {
                        [answers addObject:value];
                      }];
  };
  EXPECT_EQ(traceOf(request), Trace{"requestAlwaysAuthorization"});
  [plugin locationManager:manager didChangeAuthorizationStatus:kCLAuthorizationStatusNotDetermined];
  EXPECT_EQ([answers count], 0U);
  [plugin locationManager:manager
      didChangeAuthorizationStatus:kCLAuthorizationStatusAuthorizedWhenInUse];
  EXPECT_EQ(ios::valueFrom(answers), EncodableValue(EncodableList{true}));
}

TEST_F(Binding, ScansForServicesWhereSomeAreAskedFor) {
  ::CBCentralManager* central = [[[::CBCentralManager alloc] initWithDelegate:nil
                                                                        queue:nil] autorelease];
  const UUID service = ios::uuidFrom(uuid(@"e2c56db5-dffb-48d2-b060-d0f5a71096e0"));
  ios::CentralManagerBinding(central).scanForPeripherals(std::vector{service},
                                                         {.allowDuplicates = true});
  EXPECT_EQ(central.lastServices, std::vector{service});
  EXPECT_TRUE(central.lastOptions.allowDuplicates);
}

TEST_F(Binding, PlaysADetectionInFilterMode) {
  EXPECT_EQ(
      traceOf([&] {
        NSDictionary* arguments = filterArguments([NSNumber numberWithInt:1]);
        EXPECT_EQ(ios::valueFrom(answerTo(@"startDetection", arguments)), EncodableValue(true));
      }),
      (Trace{"📍 Added filter: UUID: E2C56DB5... Major:1", "🎯 Starting detection with 1 filters",
             "   - UUID: E2C56DB5... Major:1", "🍎 Setting up monitoring for 1 Unique UUIDs",
             "   📍 Región creada:", "     - UUID: E2C56DB5-DFFB-48D2-B060-D0F5A71096E0",
             "     - Identifier: beacon_E2C56DB5", "     - Filtros asociados: 1",
             "       1. UUID: E2C56DB5-DFFB-48D2-B060-D0F5A71096E0, Major: 1",
             "startMonitoring beacon_E2C56DB5", "startRangingBeacons beacon_E2C56DB5",
             "Started monitoring of 1 beacon regions"}));
  const CLBeaconRegion region = phone.location().regionNamed("beacon_E2C56DB5");
  EXPECT_TRUE(region.notifyOnEntry && region.notifyOnExit && region.notifyEntryStateOnDisplay);

  NSDictionary* event = eventOf([&] {
    phone.location().reportRanging({{.uuid = region.uuid,
                                     .major = 1,
                                     .minor = 9,
                                     .rssi = -67,
                                     .accuracy = 2.0,
                                     .proximity = CLProximity::near}},
                                   region);
  });
  // Of each number the kind counts too, which the objects' own equality does not look at.
  EXPECT_EQ([event count], 11U);
  const std::pair<NSString*, EncodableValue> entries[] = {
      {@"ts", std::int64_t{1700000000000}},
      {@"identifier", "beacon_E2C56DB5"},
      {@"uuid", "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0"},
      {@"majorId", std::int64_t{1}},
      {@"minorId", std::int64_t{9}},
      {@"name", ""},
      {@"mac", ""},
      {@"rssi", -67.0},
      {@"txPower", -59.0},
      {@"distance", 2.0},
      {@"proximity", "near"},
  };
  for (const auto& [key, value] : entries) {
    EXPECT_EQ(ios::valueFrom([event objectForKey:key]), value) << [key UTF8String];
  }
  EXPECT_EQ(
      traceOf([&] { answerTo(@"stopDetection"); }),
      (Trace{"stopMonitoring beacon_E2C56DB5", "stopRangingBeacons beacon_E2C56DB5", "stopScan"}));
}

TEST_F(Binding, PlaysADetectionInGenericMode) {
  EXPECT_EQ(traceOf([&] { answerTo(@"startDetection"); }),
            (Trace{"🎯 Starting detection with 0 filters",
                   "Starting generic BLE scan to detect all beacons", "scanForPeripherals"}));
  const std::uint8_t iBeacon[] = {0x4C, 0x00, 0x02, 0x15, 0xE2, 0xC5, 0x6D, 0xB5, 0xDF,
                                  0xFB, 0x48, 0xD2, 0xB0, 0x60, 0xD0, 0xF5, 0xA7, 0x10,
                                  0x96, 0xE0, 0x00, 0x01, 0x00, 0x02, 0xC5};
  ::CBPeripheral* peripheral =
      [[[::CBPeripheral alloc] initWithIdentifier:uuid(@"0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0")
                                             name:@"Beacon X"] autorelease];
  NSDictionary* event = eventOf([&] {
    [plugin centralManager:nil
        didDiscoverPeripheral:peripheral
            advertisementData:dictionary([NSData dataWithBytes:iBeacon length:sizeof iBeacon],
                                         CBAdvertisementDataManufacturerDataKey)
                         RSSI:[NSNumber numberWithInt:-70]];
  });
  EXPECT_EQ([event count], 11U);
  const std::pair<NSString*, EncodableValue> entries[] = {
      {@"identifier", "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"},
      {@"uuid", "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0"},
      {@"majorId", std::int64_t{1}},
      {@"minorId", std::int64_t{2}},
      {@"name", "Beacon X"},
      {@"mac", "4C:00:02:15:E2:C5"},
      {@"rssi", -70.0},
      {@"txPower", -59.0},
      {@"proximity", "near"},
  };
  for (const auto& [key, value] : entries) {
    EXPECT_EQ(ios::valueFrom([event objectForKey:key]), value) << [key UTF8String];
  }
  EXPECT_NEAR([[event objectForKey:@"distance"] doubleValue], 3.472448, 1e-6);
}

}  // namespace
}  // namespace nimbrel
