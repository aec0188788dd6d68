import 'dart:async';
import 'dart:io';
import 'dart:isolate';

import 'package:flutter/services.dart' show MissingPluginException;

import '../beacon_filter.dart';
import '../message_platform.dart';
import 'desk_exception.dart';
import 'desk_process.dart';
import 'phone.dart';
import 'scenario.dart';

/// The plug-in's own code in a child process, with a phone, its user and the air around it that
/// this object plays.
///
/// Time is virtual and stands still until [wait] lets it pass: an hour takes a moment, and each run
/// gives the same. With a speed, or live, time passes by itself.
///
/// ```dart
/// final desk = await Desk.start(phone: const Phone(authorization: Authorization.denied));
/// NimbrelPlatform.instance = desk;
/// print(await Nimbrel.startDetection()); // false: no permission
///
/// await desk.setAuthorization(Authorization.always);
/// print(await Nimbrel.startDetection()); // true
///
/// Nimbrel.detections.listen(print);
/// await desk.advertiseBeacon(
///   uuid: 'E2C56DB5-DFFB-48D2-B060-D0F5A71096E0',
///   majorId: 1,
///   rssi: -60,
///   every: const Duration(seconds: 1),
///   lasting: const Duration(minutes: 1),
/// );
/// await desk.wait(const Duration(hours: 1));
/// await desk.stop();
/// ```
///
/// The child ends when [stop] is called and when this program ends, however it ends. A program that
/// does not stop its desk does not end by itself. If the child ends by itself, everything that waits
/// for it, the next step and the listeners of [events] get the [DeskException] that says why.
final class Desk extends MessagePlatform {
  Desk._(this._scenario, this._hasAir, this._speed, this._resolution);

  /// Starts a desk.
  ///
  /// [scenario] is a file of steps, as `nimbrel simulate` plays it. [wait] plays those whose time
  /// has come. Its calls and its listening are left out, for the application is this program.
  ///
  /// The air holds what the steps put there; with [capture], also what that recording has, and with
  /// [live], what the machine's adapter hears, or its [adapter] of that name (such as `hci1`).
  ///
  /// With [speed], time passes by itself, so many times as fast as real time.
  ///
  /// [phone] is the phone at the start, if no scenario says it.
  ///
  /// In virtual time, the application's code runs once in every [resolution] at least: so late does
  /// it hear of what happens, and so late can it answer. What it does while a reply of the plug-in
  /// is under way takes no time. Its own timers run in real time.
  ///
  /// [command] is the program `nimbrel`. Left out, it is what the environment's `NIMBREL` says, else
  /// `build/release/nimbrel` in this package's folder, else `nimbrel` of the search path.
  ///
  /// Throws a [DeskException] if the command, the scenario or the capture cannot be used.
  static Future<Desk> start({
    String? scenario,
    String? capture,
    bool live = false,
    String? adapter,
    double? speed,
    Phone? phone,
    Duration resolution = const Duration(milliseconds: 100),
    String? command,
  }) async {
    if (live && capture != null) {
      throw ArgumentError('The air is a capture or the adapter, not both');
    }
    if (speed != null && !(speed > 0 && speed.isFinite)) {
      throw ArgumentError.value(speed, 'speed', 'is above 0');
    }
    if (resolution <= Duration.zero) {
      throw ArgumentError.value(resolution, 'resolution', 'is above 0');
    }
    final script = scenario == null ? null : await Scenario.read(scenario);
    if (phone != null && script?.phone != null) {
      throw ArgumentError.value(phone, 'phone', 'stands in the scenario, too');
    }
    final desk = Desk._(script, capture != null, live ? speed ?? 1 : speed, resolution);
    desk._process = await DeskProcess.start(
      command ?? await _command(),
      [
        'desk',
        if (capture != null) capture,
        if (live) '--live',
        if (adapter != null) ...['--adapter', adapter],
        if (speed != null) ...['--speed', '$speed'],
      ],
      onLine: desk._read,
      onEnd: desk._end,
    );
    if (script?.phone ?? (phone == null ? null : {'phone': phone.toJson()}) case final line?) {
      desk._process.write(line);
    }
    try {
      await desk.play({'wait': true});
    } catch (_) {
      await desk._process.end();
      rethrow;
    }
    desk._passing.start();
    if (desk._speed != null) {
      desk._scenarioPlayed = desk._playAsTimePasses();
    }
    return desk;
  }

  final Scenario? _scenario;
  final bool _hasAir;

  /// Null: time is virtual.
  final double? _speed;
  final Duration _resolution;
  late final DeskProcess _process;

  final _transcript = StreamController<Map<String, Object?>>.broadcast(sync: true);
  late final _events = StreamController<Object?>.broadcast(
    sync: true,
    onListen: () => _listen(true),
    onCancel: () => _listen(false),
  );
  final _foreground = StreamController<bool>.broadcast(sync: true);
  final _airEnded = Completer<void>();

  /// Calls that have no reply yet, by their number.
  final _calls = <int, Completer<Object?>>{};
  int _lastCall = 0;

  /// Real time since the start.
  final _passing = Stopwatch();
  Future<void> _scenarioPlayed = Future.value();
  Timer? _nextStep;
  Completer<void>? _arrived;
  Duration _time = Duration.zero;
  bool _waiting = false;
  bool _stopping = false;
  DeskException? _failure;

  /// The desk's time, since its start, at which the last thing happened.
  Duration get time => _time;

  /// All that the desk tells, line by line: `log`, `request`, `reply`, `event`, `done` and so on,
  /// as `nimbrel desk` writes them.
  Stream<Map<String, Object?>> get transcript => _transcript.stream;

  /// The plug-in's diagnostic lines.
  Stream<String> get logs =>
      transcript.where((line) => line.containsKey('log')).map((line) => line['log']! as String);

  /// What the plug-in asks of the phone.
  Stream<Map<String, Object?>> get requests => transcript
      .where((line) => line.containsKey('request'));

  /// Completes when the recording is over; never if there is none.
  Future<void> get airEnded => _airEnded.future;

  @override
  Stream<Object?> get events => _events.stream;

  @override
  Stream<bool> get foreground => _foreground.stream;

  @override
  Future<Object?> invoke(String method, [Object? arguments]) {
    final reply = Completer<Object?>();
    _play({
      'call': method,
      if (arguments != null) 'arguments': arguments,
    }, onSend: () => _calls[_lastCall += 1] = reply).then(
      (_) {},
      onError: (Object error, StackTrace trace) {
        _calls.removeWhere((_, waiting) => waiting == reply);
        if (!reply.isCompleted) {
          reply.completeError(error, trace);
        }
      },
    );
    return reply.future;
  }

  /// Lets time pass, and plays the steps of the scenario that are due until then. Completes when
  /// the application has been given all that happened, and its own calls have been played.
  ///
  /// In virtual time nothing else lets time pass, and one wait must be over before the next begins.
  Future<void> wait(Duration duration) async {
    if (duration.isNegative) {
      throw ArgumentError.value(duration, 'duration', 'is negative');
    }
    if (_speed case final speed?) {
      await Future<void>.delayed(duration * (1 / speed));
      await play({'wait': true});
      return _settle();
    }
    if (_waiting) {
      throw StateError('The desk waits already: await that first');
    }
    _waiting = true;
    try {
      // What the application has begun to do comes before what time brings.
      await _settle();
      final until = _time + duration;
      do {
        await _playUntil(_earlier(until, _time + _resolution));
        await _settle();
      } while (_time < until);
    } finally {
      _waiting = false;
    }
  }

  /// Lets time pass until the last step of the scenario and the end of the recording.
  ///
  /// Throws a [StateError] for a desk that has neither.
  Future<void> waitUntilEnd() async {
    if (_scenario == null && !_hasAir) {
      throw StateError('Only a scenario or a capture has an end');
    }
    if (_speed != null) {
      await _scenarioPlayed;
      if (_hasAir) {
        await airEnded;
      }
      return _settle();
    }
    if (_scenario?.steps.lastOrNull case final last?) {
      await wait(last.at > _time ? last.at - _time : Duration.zero);
    }
    while (_hasAir && !_airEnded.isCompleted) {
      await wait(_resolution);
    }
  }

  /// The user changes the permission.
  Future<void> setAuthorization(Authorization authorization) =>
      play({'authorization': authorization.name});

  /// Bluetooth changes its state.
  Future<void> setBluetooth(BluetoothState state) => play({'bluetooth': state.name});

  /// Sets the phone's wall clock, which goes on from there.
  Future<void> setClock(DateTime clock) => play({'clock': clock.microsecondsSinceEpoch / 1e6});

  /// The application comes to the foreground, or leaves it, as the system tells it.
  void setForeground({required bool isInForeground}) => _foreground.add(isInForeground);

  /// A device advertises once, or for [lasting] from now on once in [every].
  ///
  /// [address] has the form `C6:55:44:33:22:11`. [manufacturerData] begins with the company. [rssi]
  /// is in dBm.
  Future<void> advertise({
    required String address,
    AddressType addressType = AddressType.random,
    String? name,
    List<int>? manufacturerData,
    required num rssi,
    Duration? every,
    Duration? lasting,
  }) => _advertise({
    'address': address,
    'addressType': addressType.name,
    if (name != null) 'name': name,
    if (manufacturerData != null) 'manufacturerData': _hex(manufacturerData),
    'rssi': rssi,
  }, every, lasting);

  /// The same with the advertising data as it is on the air, of an advertisement or a scan
  /// response.
  Future<void> advertiseData({
    required String address,
    AddressType addressType = AddressType.random,
    required List<int> data,
    bool scanResponse = false,
    required num rssi,
    Duration? every,
    Duration? lasting,
  }) => _advertise({
    'address': address,
    'addressType': addressType.name,
    'data': _hex(data),
    if (scanResponse) 'scanResponse': true,
    'rssi': rssi,
  }, every, lasting);

  /// An iBeacon advertises once, or for [lasting] from now on once in [every]. Each beacon has an
  /// address of its own if none is given. [txPower] is its measured power at one metre in dBm.
  ///
  /// Source of the frame: Apple, "Getting Started with iBeacon".
  Future<void> advertiseBeacon({
    required String uuid,
    int majorId = 1,
    int minorId = 1,
    int txPower = -59,
    String? address,
    String? name,
    required num rssi,
    Duration? every,
    Duration? lasting,
  }) {
    final uuidBytes = _uuidBytes(uuid);
    RangeError.checkValueInInterval(majorId, 0, 0xFFFF, 'majorId');
    RangeError.checkValueInInterval(minorId, 0, 0xFFFF, 'minorId');
    RangeError.checkValueInInterval(txPower, -128, 127, 'txPower');
    final numbers = [majorId >> 8, majorId & 0xFF, minorId >> 8, minorId & 0xFF];
    return advertise(
      address: address ?? [0xC0, uuidBytes.last, ...numbers].map((byte) => _hex([byte])).join(':'),
      name: name,
      manufacturerData: [0x4C, 0x00, 0x02, 0x15, ...uuidBytes, ...numbers, txPower & 0xFF],
      rssi: rssi,
      every: every,
      lasting: lasting,
    );
  }

  /// The central manager reports a discovery, whether a scan runs or not. [identifier] is a UUID.
  Future<void> discover({
    required String identifier,
    String? name,
    List<int>? manufacturerData,
    required num rssi,
  }) => play({
    'discover': {
      'identifier': identifier,
      if (name != null) 'name': name,
      if (manufacturerData != null) 'manufacturerData': _hex(manufacturerData),
      'rssi': rssi,
    },
  });

  /// The location service reports ranged beacons, whether the region is ranged or not.
  Future<void> range({required String region, required List<RangedBeacon> beacons}) => play({
    'range': {
      'region': region,
      'beacons': [for (final beacon in beacons) beacon.toJson()],
    },
  });

  /// The location service reports that a region was entered: a beacon region, or another kind.
  Future<void> enter(String region, {bool isBeacon = true}) =>
      play({'enter': region, if (!isBeacon) 'beacon': false});

  /// The location service reports that a region was left.
  Future<void> exit(String region, {bool isBeacon = true}) =>
      play({'exit': region, if (!isBeacon) 'beacon': false});

  /// The location service reports that it has failed.
  Future<void> failLocation(String error) => play({'fail': 'location', 'error': error});

  /// The location service reports that it cannot monitor a region, or any if none is named.
  Future<void> failMonitoring(String error, {String? region}) =>
      play({'fail': 'monitoring', 'error': error, if (region != null) 'region': region});

  /// The location service reports that it cannot range a region.
  Future<void> failRanging(String error, {required String region}) =>
      play({'fail': 'ranging', 'error': error, 'region': region});

  /// Plays a step as a scenario has it, behind those that wait. Without a time it happens now.
  ///
  /// Completes when it was played, with all that it brought about. Throws a [DeskException] if
  /// it cannot be played; the desk is as before then.
  Future<void> play(Map<String, Object?> step) => _play(step);

  Future<void> _play(Map<String, Object?> step, {void Function()? onSend}) {
    if (_failure case final failure?) {
      return Future.error(failure);
    }
    return _process.play(step, onSend: onSend);
  }

  /// Ends the child, and completes when it has ended. The application's calls that have no answer
  /// yet get none, as on a phone.
  ///
  /// Throws a [DeskException] if the child has failed.
  Future<void> stop() async {
    await _process.idle();
    _stopping = true;
    _hurry();
    await _process.end();
    if (_failure case final failure?) {
      throw failure;
    }
  }

  /// Lets the application hear and answer, until it has no call under way.
  Future<void> _settle() async {
    await Future<void>.delayed(Duration.zero);
    while (!_process.isIdle) {
      await _process.idle();
      await Future<void>.delayed(Duration.zero);
    }
  }

  /// Plays the scenario's steps up to [target], each followed by what the application makes of it.
  Future<void> _playUntil(Duration target) async {
    final steps = _scenario?.steps;
    while (steps != null && steps.isNotEmpty && steps.first.at <= target) {
      final step = steps.removeFirst();
      await _playScenarioStep(step, at: step.at > _time ? step.at : null);
      await _settle();
    }
    if (target > _time) {
      await play({'at': _inSeconds(target), 'wait': true});
    }
  }

  Future<void> _playAsTimePasses() async {
    final steps = _scenario?.steps;
    while (steps != null && steps.isNotEmpty && !_stopping) {
      final due = steps.first.at * (1 / _speed!) - _passing.elapsed;
      if (due > Duration.zero) {
        final arrived = _arrived = Completer<void>();
        _nextStep = Timer(due, arrived.complete);
        await arrived.future;
      }
      if (!_stopping) {
        await _playScenarioStep(steps.removeFirst());
      }
    }
  }

  Future<void> _playScenarioStep(ScenarioStep step, {Duration? at}) async {
    try {
      await play({if (at != null) 'at': _inSeconds(at), ...step.action});
    } on DeskException catch (error) {
      throw DeskException('${step.place}: ${error.message}');
    }
  }

  Future<void> _advertise(Map<String, Object?> advertisement, Duration? every, Duration? lasting) =>
      play({
        'advertise': advertisement,
        if (every != null) 'every': _inSeconds(every),
        if (lasting != null) 'for': _inSeconds(lasting),
      });

  void _listen(bool listens) {
    if (_stopping || _failure != null) {
      return;
    }
    play({'listen': listens}).then((_) {}, onError: _events.addError);
  }

  void _read(Map<String, Object?> line) {
    if (line['at'] case final num at) {
      _time = Duration(microseconds: (at * 1e6).round());
    }
    _transcript.add(line);
    switch (line) {
      case {'event': final event}:
        _events.add(event);
      case {'reply': final String method, 'call': final int number}:
        final reply = _calls.remove(number);
        if (line['notImplemented'] == true) {
          reply?.completeError(MissingPluginException('No implementation found for $method'));
        } else {
          reply?.complete(line['value']);
        }
      case {'air': 'ended'}:
        _airEnded.complete();
    }
  }

  /// Waits no longer for the time of the scenario's next step.
  void _hurry() {
    if (_nextStep?.isActive ?? false) {
      _nextStep!.cancel();
      _arrived!.complete();
    }
  }

  void _end(DeskException? reason) {
    _failure = reason;
    _hurry();
    if (reason != null) {
      for (final reply in _calls.values) {
        reply.completeError(reason);
      }
      if (_events.hasListener) {
        _events.addError(reason);
      }
      if (!_airEnded.isCompleted && _hasAir) {
        _airEnded.future.ignore();
        _airEnded.completeError(reason);
      }
    }
    _calls.clear();
    _transcript.close();
    _events.close();
    _foreground.close();
  }

  static Future<String> _command() async {
    if (Platform.environment['NIMBREL'] case final named? when named.isNotEmpty) {
      return named;
    }
    try {
      final library = await Isolate.resolvePackageUri(Uri.parse('package:nimbrel/desk.dart'));
      final built = library?.resolve('../build/release/nimbrel').toFilePath();
      if (built != null && File(built).existsSync()) {
        return built;
      }
    } on UnsupportedError {
      // An application that was compiled ahead of time does not know where packages were.
    }
    return 'nimbrel';
  }

  static Duration _earlier(Duration one, Duration other) => one < other ? one : other;

  static double _inSeconds(Duration duration) => duration.inMicroseconds / 1e6;

  static String _hex(List<int> bytes) =>
      bytes.map((byte) => byte.toRadixString(16).padLeft(2, '0')).join().toUpperCase();

  static List<int> _uuidBytes(String uuid) {
    final digits = BeaconFilter(uuid: uuid).uuid.replaceAll('-', '');
    return [for (var at = 0; at < 32; at += 2) int.parse(digits.substring(at, at + 2), radix: 16)];
  }
}
