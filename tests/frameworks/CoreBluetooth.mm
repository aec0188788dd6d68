#import <CoreBluetooth/CoreBluetooth.h>

#include <cstdlib>

#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "tests/frameworks/Device.h"

using nimbrel::fakes::Device;
using nimbrel::fakes::record;
namespace ios = nimbrel::ios;

NSString* const CBCentralManagerScanOptionAllowDuplicatesKey =
    @"CBCentralManagerScanOptionAllowDuplicatesKey";
NSString* const CBAdvertisementDataManufacturerDataKey = @"CBAdvertisementDataManufacturerDataKey";

@implementation CBUUID
@synthesize uuid = _uuid;

+ (instancetype)UUIDWithNSUUID:(NSUUID*)uuid {
  CBUUID* made = [[[self alloc] init] autorelease];
  made->_uuid = [uuid copy];
  return made;
}

- (void)dealloc {
  [_uuid release];
  [super dealloc];
}
@end

@implementation CBPeripheral
@synthesize identifier = _identifier, name = _name;

- (instancetype)initWithIdentifier:(NSUUID*)identifier name:(NSString*)name {
  self = [super init];
  _identifier = [identifier copy];
  _name = [name copy];
  return self;
}

- (void)dealloc {
  [_identifier release];
  [_name release];
  [super dealloc];
}
@end

namespace nimbrel::fakes {

namespace {

NSDictionary* objectFrom(const CBAdvertisementData& data) {
  id value = @"a value that is not bytes";
  if (const auto* bytes = std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData)) {
    value = [NSData dataWithBytes:bytes->data() length:bytes->size()];
  } else if (std::holds_alternative<std::monostate>(data.manufacturerData)) {
    return [NSDictionary dictionary];
  }
  return [NSDictionary dictionaryWithObject:value forKey:CBAdvertisementDataManufacturerDataKey];
}

/// Sends the delegate of a manager what the radio reports.
class BluetoothReporter final : public CBCentralManagerDelegate {
 public:
  explicit BluetoothReporter(::CBCentralManager* manager) : manager_(manager) {}

  void centralManagerDidUpdateState(CBCentralManager& /*central*/) override {
    @autoreleasepool {
      [manager_.delegate centralManagerDidUpdateState:manager_];
    }
  }
  void centralManagerDidDiscover(CBCentralManager& /*central*/, const CBPeripheral& peripheral,
                                 const CBAdvertisementData& data, double rssi) override {
    @autoreleasepool {
      NSString* name = peripheral.name.has_value() ? ios::stringFrom(*peripheral.name) : nil;
      ::CBPeripheral* object =
          [[[::CBPeripheral alloc] initWithIdentifier:ios::uuidFrom(peripheral.identifier)
                                                 name:name] autorelease];
      [manager_.delegate centralManager:manager_
                  didDiscoverPeripheral:object
                      advertisementData:objectFrom(data)
                                   RSSI:[NSNumber numberWithDouble:rssi]];
    }
  }

 private:
  ::CBCentralManager* manager_;
};

}  // namespace

}  // namespace nimbrel::fakes

@implementation CBCentralManager
@synthesize delegate = _delegate, lastServices = _lastServices, lastOptions = _lastOptions;

- (instancetype)initWithDelegate:(id<CBCentralManagerDelegate>)delegate
                           queue:(dispatch_queue_t)queue {
  self = [super init];
  record(self, _cmd);
  // On any other queue the plug-in would be called beside its main thread.
  if (queue != nil) {
    std::abort();
  }
  ++Device::current().liveManagers;
  _delegate = delegate;
  _reporter = std::make_shared<nimbrel::fakes::BluetoothReporter>(self);
  _service = Device::current().platform.makeCentralManager(_reporter);
  return self;
}

- (void)dealloc {
  --Device::current().liveManagers;
  [super dealloc];
}

- (CBManagerState)state {
  return CBManagerState(_service->state());
}

- (void)scanForPeripheralsWithServices:(NSArray*)services options:(NSDictionary*)options {
  NSNumber* allowDuplicates = [options objectForKey:CBCentralManagerScanOptionAllowDuplicatesKey];
  if ([options count] != 1 || allowDuplicates == nil) {
    std::abort();
  }
  _lastOptions = {static_cast<bool>([allowDuplicates boolValue])};
  _lastServices.reset();
  if (services != nil) {
    _lastServices.emplace();
    for (CBUUID* service in services) {
      _lastServices->push_back(ios::uuidFrom(service.uuid));
    }
  }
  _service->scanForPeripherals(_lastServices, _lastOptions);
}

- (void)stopScan {
  _service->stopScan();
}
@end
