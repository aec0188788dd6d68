import 'beacon_filter.dart';
import 'detection.dart';
import 'nimbrel_platform.dart';
import 'permission_status.dart';

/// A platform whose plug-in is reached by messages: method calls, their replies, and events, all
/// made of the values that Flutter's standard message codec carries.
abstract base class MessagePlatform extends NimbrelPlatform {
  /// Calls a method of the plug-in and completes with its reply.
  Future<Object?> invoke(String method, [Object? arguments]);

  /// The events of the plug-in: a broadcast stream, which listens to the plug-in from its first
  /// listener to its last.
  Stream<Object?> get events;

  @override
  Future<PermissionStatus> checkPermissionStatus() async {
    const method = 'checkPermissionStatus';
    return switch (await invoke(method)) {
      'AUTHORIZED' => PermissionStatus.authorized,
      'DENIED' => PermissionStatus.denied,
      'RESTRICTED' => PermissionStatus.restricted,
      'NOT_DETERMINED' => PermissionStatus.notDetermined,
      final reply => throw _unexpected(method, reply, 'a permission status'),
    };
  }

  @override
  Future<bool> requestPermissions() => _ask('requestPermissions');

  @override
  Future<bool> startDetection(List<BeaconFilter> filters) => _ask('startDetection', {
    'filters': [for (final filter in filters) _messageOf(filter)],
  });

  @override
  Future<bool> stopDetection() => _ask('stopDetection');

  @override
  Future<bool> updateConfig({required bool isInForeground}) =>
      _ask('updateConfig', {'isInForeground': isInForeground});

  @override
  Stream<Detection> get detections => events.map(Detection.fromEvent);

  Future<bool> _ask(String method, [Object? arguments]) async =>
      switch (await invoke(method, arguments)) {
        final bool reply => reply,
        final reply => throw _unexpected(method, reply, 'true or false'),
      };

  static Map<String, Object> _messageOf(BeaconFilter filter) => {
    'uuid': filter.uuid,
    if (filter.majorId case final major?) 'majorId': major,
    if (filter.minorId case final minor?) 'minorId': minor,
    if (filter.identifier case final identifier?) 'identifier': identifier,
  };

  static FormatException _unexpected(String method, Object? reply, String expected) =>
      FormatException('$method replied $reply, where $expected was expected');
}
