#pragma once

#import <CoreBluetooth/CoreBluetooth.h>
#import <CoreLocation/CoreLocation.h>
#import <Flutter/Flutter.h>
#import <Foundation/Foundation.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#import "Retained.h"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/Flutter.hpp"

/// What crosses between the frameworks and the plug-in. The plug-in's types bear the frameworks'
/// names: in this namespace the bare name is the plug-in's, `::` before it the framework's. Objects
/// that are returned bare are autoreleased.
namespace nimbrel::ios {

// texts and identifiers

/// In UTF-8. A lone surrogate, which UTF-8 does not have, becomes a question mark; nil is empty.
std::string textFrom(NSString* text);
/// Bytes that are not UTF-8 are read as ISO 8859-1, so that nothing is lost. Never nil.
NSString* stringFrom(std::string_view text);

UUID uuidFrom(NSUUID* uuid);
NSUUID* uuidFrom(UUID uuid);

// values of the channels

/// nil and NSNull are null; a number is a boolean, an integer or a floating-point number as it was
/// made, and one beyond 64 signed bits floats. An object of a class that the plug-in reads nothing
/// from, such as a date, is null too: an entry that is there, and of no kind that is asked for.
EncodableValue valueFrom(id object);
/// Null is NSNull.
id objectFrom(const EncodableValue& value);

FlutterMethodCall callFrom(::FlutterMethodCall* call);
/// Absent for nil alone.
std::optional<EncodableValue> argumentsFrom(id arguments);
/// The block is held as long as the callback, and given nil for null.
FlutterResult resultFrom(::FlutterResult result);
FlutterEventSink sinkFrom(::FlutterEventSink sink);
/// nil where there is no error.
::FlutterError* flutterErrorFrom(const std::optional<FlutterError>& error);

// location

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
NSError errorFrom(::NSError* error);

// Bluetooth

CBPeripheral peripheralFrom(::CBPeripheral* peripheral);
/// The bytes are those of `data`, and valid as long as it is.
CBAdvertisementData advertisementDataFrom(NSDictionary* data);

}  // namespace nimbrel::ios
