import 'dart:async';

import 'package:flutter/services.dart';
import 'package:flutter/widgets.dart' show AppLifecycleListener, AppLifecycleState;

import 'message_platform.dart';

/// The plug-in on the phone, over Flutter's channels.
///
/// On a platform without the plug-in each call ends in a [MissingPluginException]. Flutter reports
/// the same for the first listener of [events] to `FlutterError.onError`.
final class MethodChannels extends MessagePlatform {
  static const _methods = MethodChannel('com.quorvane.nimbrel/methods');
  static const _events = EventChannel('com.quorvane.nimbrel/events');

  // One stream for all: a second one would take the plug-in's sink away from the first.
  @override
  late final Stream<Object?> events = _events.receiveBroadcastStream();

  @override
  late final Stream<bool> foreground = _foreground();

  @override
  Future<Object?> invoke(String method, [Object? arguments]) =>
      _methods.invokeMethod<Object?>(method, arguments);

  static Stream<bool> _foreground() {
    late final StreamController<bool> changes;
    AppLifecycleListener? listener;
    changes = StreamController.broadcast(
      onListen: () {
        listener = AppLifecycleListener(
          onStateChange: (state) => changes.add(state == AppLifecycleState.resumed),
        );
      },
      onCancel: () => listener?.dispose(),
    );
    return changes.stream;
  }
}
