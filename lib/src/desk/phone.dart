import '../detection.dart';

/// The location permission, as the user sets it.
enum Authorization { notDetermined, restricted, denied, always, whenInUse }

/// The state of the phone's Bluetooth.
enum BluetoothState { unknown, resetting, unsupported, unauthorized, poweredOff, poweredOn }

/// What the user answers when the system asks for the location permission.
enum PromptAnswer { always, whenInUse, denied, ignored }

/// Whether a Bluetooth address is registered with the IEEE or made up.
enum AddressType { public, random }

/// The phone at the start of a desk. What is left out is as on a usual phone: permission at all
/// times, and Bluetooth on.
final class Phone {
  const Phone({
    this.systemVersion,
    this.authorization,
    this.bluetooth,
    this.clock,
    this.prompt,
    this.withholdsBeacons,
    this.hasLocationManager,
    this.regionExitDelay,
  });

  /// The version of iOS, such as `13.7`.
  final String? systemVersion;

  final Authorization? authorization;

  final BluetoothState? bluetooth;

  /// The wall clock at the start.
  final DateTime? clock;

  /// One second after a request for permission, the user answers this.
  final PromptAnswer? prompt;

  /// Whether Bluetooth scans see no iBeacons, as on a real iPhone.
  final bool? withholdsBeacons;

  /// Whether the phone has a location service.
  final bool? hasLocationManager;

  /// How long a beacon has to be silent before its region is left.
  final Duration? regionExitDelay;

  /// The `phone` object of a scenario.
  Map<String, Object> toJson() => {
    if (systemVersion case final version?) 'systemVersion': version,
    if (authorization case final authorization?) 'authorization': authorization.name,
    if (bluetooth case final bluetooth?) 'bluetooth': bluetooth.name,
    if (clock case final clock?) 'clock': clock.microsecondsSinceEpoch / 1e6,
    if (prompt case final prompt?) 'prompt': prompt.name,
    if (withholdsBeacons case final withholds?) 'withholdsBeacons': withholds,
    if (hasLocationManager case final has?) 'locationManager': has,
    if (regionExitDelay case final delay?) 'regionExitDelay': delay.inMicroseconds / 1e6,
  };
}

/// A beacon in a report of the location service.
final class RangedBeacon {
  const RangedBeacon({
    required this.uuid,
    required this.majorId,
    required this.minorId,
    required this.rssi,
    required this.accuracy,
    required this.proximity,
  });

  final String uuid;
  final int majorId;
  final int minorId;

  /// In dBm; 0: silent since the last report.
  final int rssi;

  /// The service's estimate of the distance in metres; negative: not known.
  final double accuracy;

  final Proximity proximity;

  /// One of the `beacons` of a `range` step.
  Map<String, Object> toJson() => {
    'uuid': uuid,
    'major': majorId,
    'minor': minorId,
    'rssi': rssi,
    'accuracy': accuracy,
    'proximity': proximity.name,
  };
}
