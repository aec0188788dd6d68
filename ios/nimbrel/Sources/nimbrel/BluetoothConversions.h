#pragma once

#import <CoreBluetooth/CoreBluetooth.h>

#include "platform/CoreBluetooth.hpp"

namespace nimbrel::ios {

CBPeripheral peripheralFrom(::CBPeripheral* peripheral);
/// The bytes are those of `data`, and valid as long as it is.
CBAdvertisementData advertisementDataFrom(NSDictionary* data);

}  // namespace nimbrel::ios
