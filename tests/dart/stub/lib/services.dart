/// As much of Flutter's library of this name as the package uses. Source: its public documentation.
library;

import 'dart:async';

import 'stub_engine.dart';

class MissingPluginException implements Exception {
  MissingPluginException([this.message]);

  final String? message;

  @override
  String toString() => 'MissingPluginException($message)';
}

class MethodChannel {
  const MethodChannel(this.name);

  final String name;

  Future<T?> invokeMethod<T>(String method, [dynamic arguments]) async {
    final carried = StubEngine.carry(arguments);
    final handler = StubEngine.handlers[name];
    if (handler == null) {
      throw MissingPluginException('No implementation found for method $method on channel $name');
    }
    return StubEngine.carry(await handler(method, carried)) as T?;
  }
}

class EventChannel {
  const EventChannel(this.name);

  final String name;

  Stream<dynamic> receiveBroadcastStream([dynamic arguments]) {
    late final StreamController<dynamic> events;
    events = StreamController<dynamic>.broadcast(
      onListen: () async {
        // The last stream that is listened to has the channel's messages.
        StubEngine.sinks[name] = (event) => events.add(StubEngine.carry(event));
        await _reporting('listen', arguments);
      },
      onCancel: () async {
        StubEngine.sinks.remove(name);
        await _reporting('cancel', arguments);
      },
    );
    return events.stream;
  }

  Future<void> _reporting(String method, dynamic arguments) async {
    try {
      await MethodChannel(name).invokeMethod<void>(method, arguments);
    } catch (error) {
      StubEngine.reported.add(error);
    }
  }
}
