#import "ChannelConversions.h"

#include <cstdint>
#include <limits>

#import "FoundationConversions.h"
#import "Retained.h"

namespace nimbrel::ios {

namespace {

EncodableValue numberFrom(NSNumber* number) {
  // A boolean says that it is a character, as a small integer may: only its class tells it apart.
  if ([number class] == [[NSNumber numberWithBool:YES] class]) {
    return static_cast<bool>([number boolValue]);
  }
  switch (*[number objCType]) {
    case 'f':
    case 'd':
      return [number doubleValue];
    case 'Q':
    case 'L':
      if ([number unsignedLongLongValue] > std::numeric_limits<std::int64_t>::max()) {
        return [number doubleValue];
      }
      break;
    default:
      break;
  }
  return static_cast<std::int64_t>([number longLongValue]);
}

/// Null for a list of numbers that are wider than a byte: the plug-in reads none.
EncodableValue bytesFrom(FlutterStandardTypedData* typed) {
  if ([typed type] != FlutterStandardDataTypeUInt8) {
    return {};
  }
  const auto bytes = bytesOf([typed data]);
  return EncodableBytes(bytes.begin(), bytes.end());
}

EncodableList listFrom(NSArray* array) {
  EncodableList list;
  list.reserve([array count]);
  for (id element in array) {
    list.push_back(valueFrom(element));
  }
  return list;
}

EncodableMap mapFrom(NSDictionary* dictionary) {
  EncodableMap map;
  map.reserve([dictionary count]);
  for (id key in dictionary) {
    map.emplace_back(valueFrom(key), valueFrom([dictionary objectForKey:key]));
  }
  return map;
}

/// Makes the object of each kind of value.
struct ObjectMaker {
  id operator()(std::monostate /*null*/) const { return [NSNull null]; }
  id operator()(bool value) const { return [NSNumber numberWithBool:value]; }
  id operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
  id operator()(double value) const { return [NSNumber numberWithDouble:value]; }
  id operator()(const PlainText& value) const { return stringFrom(value); }
  id operator()(const std::string& value) const { return stringFrom(value); }
  id operator()(const EncodableBytes& value) const {
    return [FlutterStandardTypedData typedDataWithBytes:[NSData dataWithBytes:value.data()
                                                                       length:value.size()]];
  }
  id operator()(const EncodableList& value) const {
    NSMutableArray* array = [NSMutableArray arrayWithCapacity:value.size()];
    for (const EncodableValue& element : value) {
      [array addObject:objectFrom(element)];
    }
    return array;
  }
  id operator()(const EncodableMap& value) const {
    NSMutableDictionary* dictionary = [NSMutableDictionary dictionaryWithCapacity:value.size()];
    for (const EncodableEntry& entry : value) {
      [dictionary setObject:objectFrom(entry.value) forKey:objectFrom(entry.key.value())];
    }
    return dictionary;
  }
};

/// What a callback of the host framework takes for a value.
id callbackObjectFrom(const EncodableValue& value) {
  return std::holds_alternative<std::monostate>(value) ? nil : objectFrom(value);
}

}  // namespace

EncodableValue valueFrom(id object) {
  if ([object isKindOfClass:[NSNumber class]]) {
    return numberFrom(object);
  }
  if ([object isKindOfClass:[NSString class]]) {
    return textFrom(object);
  }
  if ([object isKindOfClass:[FlutterStandardTypedData class]]) {
    return bytesFrom(object);
  }
  if ([object isKindOfClass:[NSArray class]]) {
    return listFrom(object);
  }
  if ([object isKindOfClass:[NSDictionary class]]) {
    return mapFrom(object);
  }
  return {};
}

id objectFrom(const EncodableValue& value) {
  // The type that a value derives from: a visit needs it by name.
  return std::visit(ObjectMaker(), static_cast<const EncodableValue::variant&>(value));
}

FlutterMethodCall callFrom(::FlutterMethodCall* call) {
  return {textFrom([call method]), argumentsFrom([call arguments])};
}

std::optional<EncodableValue> argumentsFrom(id arguments) {
  return arguments == nil ? std::nullopt : std::optional(valueFrom(arguments));
}

FlutterResult resultFrom(::FlutterResult result) {
  return [held = Retained<::FlutterResult>(result)](const FlutterReply& reply) {
    const auto* value = std::get_if<EncodableValue>(&reply);
    held.get()(value != nullptr ? callbackObjectFrom(*value) : ::FlutterMethodNotImplemented);
  };
}

FlutterEventSink sinkFrom(::FlutterEventSink sink) {
  return [held = Retained<::FlutterEventSink>(sink)](const EncodableValue& event) {
    held.get()(callbackObjectFrom(event));
  };
}

::FlutterError* flutterErrorFrom(const std::optional<FlutterError>& error) {
  return error.has_value() ? [::FlutterError errorWithCode:stringFrom(error->code)
                                                   message:stringFrom(error->message)
                                                   details:nil]
                           : nil;
}

}  // namespace nimbrel::ios
