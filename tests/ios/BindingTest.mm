#import <objc/runtime.h>

#include <cstdlib>
#include <set>

#include "ios/nimbrel/Sources/nimbrel/CentralManagerBinding.h"
#include "ios/nimbrel/Sources/nimbrel/ChannelConversions.h"
#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "ios/nimbrel/Sources/nimbrel/LocationManagerBinding.h"
#include "tests/ios/World.h"

namespace nimbrel {
namespace {

NSUUID* uuid(NSString* text) { return [[[NSUUID alloc] initWithUUIDString:text] autorelease]; }

template <typename Element, typename NameOf>
std::set<std::string> namesOf(Element* (*copyList)(Class, unsigned*), Class cls, NameOf nameOf) {
  unsigned count = 0;
  Element* list = copyList(cls, &count);
  std::set<std::string> names;
  for (unsigned index = 0; index < count; ++index) {
    names.insert(nameOf(list[index]));
  }
  std::free(list);
  return names;
}

std::set<std::string> methodsOf(Class cls) {
  return namesOf(class_copyMethodList, cls,
                 [](Method each) { return sel_getName(method_getName(each)); });
}

class Binding : public World {
 protected:
  ::CLLocationManager* manager = [[[::CLLocationManager alloc] init] autorelease];
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
  EXPECT_EQ(namesOf(class_copyProtocolList, [NimbrelPlugin class], protocol_getName),
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

TEST_F(Binding, HandsAPlatformsRegionBackAsTheVeryObject) {
  ::CLBeaconRegion* door =
      [[[::CLBeaconRegion alloc] initWithUUID:uuid(@"e2c56db5-dffb-48d2-b060-d0f5a71096e0")
                                   identifier:@"door"] autorelease];
  [plugin locationManager:manager didEnterRegion:door];
  EXPECT_TRUE(manager.lastRegion == door);
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

}  // namespace
}  // namespace nimbrel
