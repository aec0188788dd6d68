#import "BluetoothConversions.h"

#import "FoundationConversions.h"

namespace nimbrel::ios {

CBPeripheral peripheralFrom(::CBPeripheral* peripheral) {
  CBPeripheral value{uuidFrom([peripheral identifier]), std::nullopt};
  if (NSString* name = [peripheral name]) {
    value.name = textFrom(name);
  }
  return value;
}

CBAdvertisementData advertisementDataFrom(NSDictionary* data) {
  id value = [data objectForKey:CBAdvertisementDataManufacturerDataKey];
  if (value == nil) {
    return {};
  }
  if ([value isKindOfClass:[NSData class]]) {
    return {bytesOf(value)};
  }
  return {CBAdvertisementData::NotBytes()};
}

}  // namespace nimbrel::ios
