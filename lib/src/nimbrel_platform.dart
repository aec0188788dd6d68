import 'beacon_filter.dart';
import 'detection.dart';
import 'method_channels.dart';
import 'permission_status.dart';

/// What stands behind `Nimbrel`: the phone's plug-in over its channels, unless a test or a desktop
/// run puts something else in its place.
///
/// ```dart
/// final class NothingAround extends NimbrelPlatform {
///   @override
///   Future<PermissionStatus> checkPermissionStatus() async => PermissionStatus.authorized;
///   @override
///   Future<bool> requestPermissions() async => true;
///   @override
///   Future<bool> startDetection(List<BeaconFilter> filters) async => true;
///   @override
///   Future<bool> stopDetection() async => true;
///   @override
///   Future<bool> updateConfig({required bool isInForeground}) async => true;
///   @override
///   Stream<Detection> get detections => const Stream.empty();
/// }
///
/// Future<void> main() async {
///   NimbrelPlatform.instance = NothingAround();
///   print(await Nimbrel.startDetection()); // true
/// }
/// ```
///
/// Implementations extend this class, so that an operation that is added later does not break them.
abstract base class NimbrelPlatform {
  /// The platform that `Nimbrel` uses from now on; at first the channels.
  static NimbrelPlatform instance = MethodChannels();

  /// See `Nimbrel.checkPermissionStatus`.
  Future<PermissionStatus> checkPermissionStatus();

  /// See `Nimbrel.requestPermissions`. May never complete.
  Future<bool> requestPermissions();

  /// See `Nimbrel.startDetection`.
  Future<bool> startDetection(List<BeaconFilter> filters);

  /// See `Nimbrel.stopDetection`.
  Future<bool> stopDetection();

  /// See `Nimbrel.updateConfig`.
  Future<bool> updateConfig({required bool isInForeground});

  /// See `Nimbrel.detections`. A broadcast stream.
  Stream<Detection> get detections;

  /// True when the application comes to the foreground, false when it leaves it. A broadcast
  /// stream, empty if the platform does not know.
  Stream<bool> get foreground => const Stream.empty();
}
