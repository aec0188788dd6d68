/// How near a device is, in four classes.
enum Proximity {
  /// Below about half a metre.
  immediate,

  /// Below about four metres.
  near,

  /// Farther away.
  far,

  /// Not known: the device was not heard since the last report.
  unknown,
}

/// One sighting of a beacon, or of another device that advertises.
///
/// In filter mode every iBeacon that a filter accepts is reported once a second while it is around.
/// In generic mode each device is reported every two seconds, or sooner when its signal strength
/// changes by 3 dB.
final class Detection {
  /// A test of an application makes detections of its own with this.
  const Detection({
    required this.time,
    required this.identifier,
    required this.uuid,
    this.majorId = -1,
    this.minorId = -1,
    this.name = '',
    this.mac = '',
    this.rssi,
    this.txPower = -59.0,
    this.distance,
    this.proximity = Proximity.unknown,
  });

  /// Reads an event of the channel `com.quorvane.nimbrel/events`: a map of eleven entries.
  ///
  /// Throws a [FormatException] that names the entry if one is missing or of the wrong kind. An
  /// entry that is not known here is ignored. A number that is not finite may be null, as JSON has
  /// it.
  factory Detection.fromEvent(Object? event) {
    if (event is! Map) {
      throw FormatException('A detection is a map, not ${event.runtimeType}');
    }
    T entry<T>(String key) => switch (event[key]) {
      final T value => value,
      final value => throw FormatException(
        'A detection has "$key" of type $T, not ${value.runtimeType}',
        event.toString(),
      ),
    };

    final word = entry<String>('proximity');
    final distance = entry<double?>('distance') ?? double.nan;
    return Detection(
      time: DateTime.fromMillisecondsSinceEpoch(entry<int>('ts'), isUtc: true),
      identifier: entry<String>('identifier'),
      uuid: entry<String>('uuid'),
      majorId: entry<int>('majorId'),
      minorId: entry<int>('minorId'),
      name: entry<String>('name'),
      mac: entry<String>('mac'),
      rssi: switch (entry<double?>('rssi')) {
        null || 0 || _rssiNotAvailable => null,
        final rssi when !rssi.isFinite => null,
        final rssi => rssi,
      },
      txPower: entry<double>('txPower'),
      distance: distance.isFinite && distance >= 0 ? distance : null,
      proximity:
          Proximity.values.asNameMap()[word] ??
          (throw FormatException('A detection has no proximity "$word"', event.toString())),
    );
  }

  /// What a controller reports for a signal that it could not measure.
  /// Source: Bluetooth Core Specification, HCI LE Advertising Report event.
  static const double _rssiNotAvailable = 127;

  /// When the device was heard, in UTC.
  final DateTime time;

  /// Filter mode: the filter's label, or the name of the region where the filter has none. Generic
  /// mode: the identifier that the phone gives the device.
  final String identifier;

  /// The beacon's proximity UUID, in upper case; of a device that is no beacon, [identifier].
  final String uuid;

  /// The beacon's major value, 0 to 65535; -1 of a device that is no beacon.
  final int majorId;

  /// The beacon's minor value, 0 to 65535; -1 of a device that is no beacon.
  final int minorId;

  /// Filter mode: the filter's label. Generic mode: the device's name. Empty if there is none.
  final String name;

  /// Generic mode: the first six bytes of the device's manufacturer data, as `AA:BB:CC:DD:EE:FF`.
  /// Else empty.
  final String mac;

  /// The signal strength in dBm; null if the device was silent since the last report, or its
  /// signal could not be measured.
  final double? rssi;

  /// The signal strength at one metre in dBm: what a beacon says of itself in generic mode, else
  /// -59.
  final double txPower;

  /// The estimated distance in metres; null if it is not known.
  final double? distance;

  /// How near the device is.
  final Proximity proximity;

  /// Whether this is a beacon, an iBeacon or an AltBeacon, and not just a device that advertises.
  bool get isBeacon => majorId >= 0;

  @override
  bool operator ==(Object other) => other is Detection && other._entries == _entries;

  @override
  int get hashCode => _entries.hashCode;

  // What equality and hash code go by.
  (DateTime, String, String, int, int, String, String, double?, double, double?, Proximity)
  get _entries => (
    time,
    identifier,
    uuid,
    majorId,
    minorId,
    name,
    mac,
    rssi,
    txPower,
    distance,
    proximity,
  );

  @override
  String toString() => [
    time.toIso8601String(),
    identifier,
    if (isBeacon) '$uuid/$majorId/$minorId',
    if (name.isNotEmpty && name != identifier) name,
    if (mac.isNotEmpty) mac,
    rssi == null ? 'silent' : '${rssi!.toStringAsFixed(0)} dBm',
    if (distance != null) '${distance!.toStringAsFixed(2)} m',
    proximity.name,
  ].join(' ');
}
