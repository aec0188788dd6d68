/// The engine's end of the channels, for tests: what stands in for the phone.
library;

import 'dart:typed_data';

/// Answers a method call of a channel.
typedef MethodHandler = Future<Object?> Function(String method, Object? arguments);

abstract final class StubEngine {
  /// By the channel's name. A call on a channel without one finds no plug-in.
  static final handlers = <String, MethodHandler>{};

  /// Where an event channel's events go while it is listened to, by the channel's name.
  static final sinks = <String, void Function(Object? event)>{};

  /// What the framework has reported in place of throwing it.
  static final reported = <Object>[];

  static void reset() {
    handlers.clear();
    sinks.clear();
    reported.clear();
  }

  /// The value as it arrives at the channel's other end. Maps and lists arrive without their type
  /// arguments. Throws an [ArgumentError] for what the standard message codec does not carry.
  static Object? carry(Object? value) => switch (value) {
    null || bool() || int() || double() || String() => value,
    Uint8List() => Uint8List.fromList(value),
    Int32List() => Int32List.fromList(value),
    Int64List() => Int64List.fromList(value),
    Float32List() => Float32List.fromList(value),
    Float64List() => Float64List.fromList(value),
    List() => <Object?>[for (final element in value) carry(element)],
    Map() => <Object?, Object?>{
      for (final MapEntry(:key, :value) in value.entries) carry(key): carry(value),
    },
    _ => throw ArgumentError.value(value),
  };
}
