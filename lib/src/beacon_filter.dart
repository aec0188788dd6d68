/// Names the iBeacons that an application wants to hear about: all of one proximity UUID, or those
/// of one major value, one minor value or both.
///
/// ```dart
/// final lobby = BeaconFilter(
///   uuid: 'e2c56db5-dffb-48d2-b060-d0f5a71096e0',
///   majorId: 1,
///   identifier: 'Lobby',
/// );
/// print(lobby); // BeaconFilter(E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/1, Lobby)
/// ```
final class BeaconFilter {
  /// Takes the UUID in either case. Throws an [ArgumentError] if [uuid] is not 32 hexadecimal
  /// digits in groups of 8, 4, 4, 4 and 12, or a number does not fit in 16 bits.
  BeaconFilter({required String uuid, this.majorId, this.minorId, this.identifier})
    : uuid = uuid.toUpperCase() {
    if (!_uuidForm.hasMatch(uuid)) {
      throw ArgumentError.value(uuid, 'uuid', 'is not a UUID of the form 8-4-4-4-12');
    }
    _checkRange(majorId, 'majorId');
    _checkRange(minorId, 'minorId');
  }

  /// The proximity UUID, in upper case.
  final String uuid;

  /// The major value, 0 to 65535; null: any.
  final int? majorId;

  /// The minor value, 0 to 65535; null: any.
  final int? minorId;

  /// The label that detections carry as their `identifier` and `name`; null: none. Where several
  /// filters accept a beacon, the first one gives the label.
  final String? identifier;

  static final _uuidForm = RegExp(r'^[0-9a-fA-F]{8}(-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12}$');

  static void _checkRange(int? value, String name) {
    if (value != null) {
      RangeError.checkValueInInterval(value, 0, 0xFFFF, name);
    }
  }

  @override
  bool operator ==(Object other) =>
      other is BeaconFilter &&
      other.uuid == uuid &&
      other.majorId == majorId &&
      other.minorId == minorId &&
      other.identifier == identifier;

  @override
  int get hashCode => Object.hash(uuid, majorId, minorId, identifier);

  @override
  String toString() {
    final numbers = switch ((majorId, minorId)) {
      (null, null) => '',
      (final major, null) => '/$major',
      (final major, final minor) => '/${major ?? ''}/$minor',
    };
    return 'BeaconFilter($uuid$numbers${identifier == null ? '' : ', $identifier'})';
  }
}
