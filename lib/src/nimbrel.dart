import 'dart:async';

import 'beacon_filter.dart';
import 'detection.dart';
import 'nimbrel_platform.dart';
import 'permission_status.dart';

/// Detects beacons near the device.
///
/// ```dart
/// if (await Nimbrel.checkPermissionStatus() != PermissionStatus.authorized &&
///     !await Nimbrel.requestPermissions()) {
///   print('no permission to detect');
///   return;
/// }
/// final subscription = Nimbrel.detections.listen(print);
/// await Nimbrel.startDetection(
///   filters: [BeaconFilter(uuid: '6a1f3c52-8e0b-4d27-9c64-1b7e5d20f3a8', identifier: 'Gallery')],
/// );
/// // … and when the application has heard enough:
/// await Nimbrel.stopDetection();
/// await subscription.cancel();
/// ```
///
/// All calls go to [NimbrelPlatform.instance]. On a platform that has no plug-in they end in a
/// `MissingPluginException`. A reply that is none of those expected ends in a [FormatException].
abstract final class Nimbrel {
  static final _sessions = Expando<_Session>();

  static _Session get _session {
    final platform = NimbrelPlatform.instance;
    return _sessions[platform] ??= _Session(platform);
  }

  /// What the location permission is now. Asks nobody.
  static Future<PermissionStatus> checkPermissionStatus() =>
      _session.platform.checkPermissionStatus();

  /// Asks the user for permission to use location at all times. Completes with whether the
  /// application may detect: permission while it is in use is enough for that.
  ///
  /// Where the permission is settled already, the answer comes at once and the user sees nothing.
  /// A request made while another one waits joins it, and gets the same answer.
  ///
  /// iOS tells nobody when the user's choice leaves the permission as it was ("Keep Only While
  /// Using"), when it shows no question because it has asked before, or when the `Info.plist` lacks
  /// the text of the question. A request that it leaves unanswered therefore ends when the
  /// application has left the foreground and come back (a question on the screen is enough), with
  /// what the permission is then. Where the platform does not tell of that, [updateConfig] does.
  static Future<bool> requestPermissions() => _session.requestPermissions();

  /// Starts to detect: the iBeacons of [filters] by the location service, or, without filters, all
  /// that can be heard by a Bluetooth scan. Completes with false if the location permission is
  /// missing; then nothing is started.
  ///
  /// Listen to [detections] first: what nobody hears is lost.
  ///
  /// Throws a [StateError] if this application has started detection and not stopped it: the
  /// filters of a running detection cannot be changed, so stop it and start anew. After a hot
  /// restart the plug-in still runs with its old filters, which this class cannot know. It answers
  /// true then and starts nothing anew; an application that is developed with hot restart calls
  /// [stopDetection] first.
  static Future<bool> startDetection({List<BeaconFilter> filters = const []}) =>
      _session.startDetection(filters);

  /// Stops detection; no effect if none runs. Completes with false if the device has no
  /// location service, else with true. A detection that is on its way may still come.
  static Future<bool> stopDetection() => _session.stopDetection();

  /// Tells the plug-in whether the application is in the foreground. Call it at each change.
  static Future<bool> updateConfig({required bool isInForeground}) =>
      _session.updateConfig(isInForeground: isInForeground);

  /// All detections, for any number of listeners: one broadcast stream. The plug-in reports to it
  /// as long as it has a listener; it does not start or stop detection.
  ///
  /// An event that cannot be read becomes an error of the stream, a [FormatException], and the
  /// stream goes on.
  static Stream<Detection> get detections => _session.platform.detections;
}

/// What is remembered of one platform.
class _Session {
  _Session(this.platform);

  final NimbrelPlatform platform;
  bool _detects = false;
  Future<bool>? _request;
  final _toldOfForeground = StreamController<bool>.broadcast(sync: true);

  Future<bool> startDetection(List<BeaconFilter> filters) async {
    if (_detects) {
      throw StateError('Detection runs already. Call Nimbrel.stopDetection() first.');
    }
    _detects = true;
    try {
      return _detects = await platform.startDetection(filters);
    } catch (_) {
      _detects = false;
      rethrow;
    }
  }

  Future<bool> stopDetection() async {
    final stopped = await platform.stopDetection();
    _detects = _detects && !stopped;
    return stopped;
  }

  Future<bool> updateConfig({required bool isInForeground}) {
    _toldOfForeground.add(isInForeground);
    return platform.updateConfig(isInForeground: isInForeground);
  }

  Future<bool> requestPermissions() =>
      _request ??= _PermissionRequest(platform, [
        platform.foreground,
        _toldOfForeground.stream,
      ]).answer.whenComplete(() => _request = null);
}

/// One question to the user: ends with the platform's answer, or with the status that stands when
/// the application has left the foreground and come back, whichever comes first.
class _PermissionRequest {
  _PermissionRequest(this._platform, List<Stream<bool>> foreground) {
    for (final changes in foreground) {
      _subscriptions.add(changes.listen(_onForeground));
    }
    _platform.requestPermissions().then(_end, onError: _fail);
  }

  /// The system may show its next question, or change the status, a moment after the last question
  /// has gone from the screen.
  static const _grace = Duration(seconds: 1);

  final NimbrelPlatform _platform;
  final _answer = Completer<bool>();
  final _subscriptions = <StreamSubscription<bool>>[];

  /// How often the application has left the foreground since the question.
  int _departures = 0;
  bool _away = false;

  Future<bool> get answer => _answer.future;

  void _onForeground(bool isInForeground) {
    if (!isInForeground) {
      _departures += 1;
      _away = true;
    } else if (_away) {
      _away = false;
      _askForStatus().then((_) {}, onError: _fail);
    }
  }

  Future<void> _askForStatus() async {
    final departure = _departures;
    var status = await _platform.checkPermissionStatus();
    if (status == PermissionStatus.notDetermined) {
      await Future<void>.delayed(_grace);
      if (_answer.isCompleted || departure != _departures) {
        return;
      }
      status = await _platform.checkPermissionStatus();
    }
    if (departure == _departures) {
      _end(status == PermissionStatus.authorized);
    }
  }

  void _end(bool granted) {
    if (!_answer.isCompleted) {
      _leave();
      _answer.complete(granted);
    }
  }

  void _fail(Object error, StackTrace trace) {
    if (!_answer.isCompleted) {
      _leave();
      _answer.completeError(error, trace);
    }
  }

  void _leave() {
    for (final subscription in _subscriptions) {
      subscription.cancel();
    }
  }
}
