#pragma once

#import <Flutter/Flutter.h>

#include <optional>

#include "platform/Flutter.hpp"

namespace nimbrel::ios {

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
/// nil if there is no error.
::FlutterError* flutterErrorFrom(const std::optional<FlutterError>& error);

}  // namespace nimbrel::ios
