import 'package:nimbrel/nimbrel.dart';

import 'harness.dart';

const uuid = 'E2C56DB5-DFFB-48D2-B060-D0F5A71096E0';

/// An event as the plug-in sends it, with [changes].
Map<Object?, Object?> event([Map<String, Object?> changes = const {}]) => {
  'ts': 1700000000987,
  'identifier': 'Lobby',
  'uuid': uuid,
  'majorId': 1,
  'minorId': 2,
  'name': 'Lobby',
  'mac': '4C:00:02:15:E2:C5',
  'rssi': -60.0,
  'txPower': -61.0,
  'distance': 1.25,
  'proximity': 'near',
  ...changes,
};

Detection read([Map<String, Object?> changes = const {}]) => Detection.fromEvent(event(changes));

void valuesTests() {
  test('a detection has all that the event says', () {
    expect(
      read(),
      Detection(
        time: DateTime.utc(2023, 11, 14, 22, 13, 20, 987),
        identifier: 'Lobby',
        uuid: uuid,
        majorId: 1,
        minorId: 2,
        name: 'Lobby',
        mac: '4C:00:02:15:E2:C5',
        rssi: -60,
        txPower: -61,
        distance: 1.25,
        proximity: Proximity.near,
      ),
    );
    expect(
      '${read()}',
      '2023-11-14T22:13:20.987Z Lobby $uuid/1/2 4C:00:02:15:E2:C5 -60 dBm 1.25 m near',
    );
  });

  test('an unknown distance and a silent beacon are null', () {
    for (final unknown in [-1.0, -0.01, double.nan, double.infinity, null]) {
      expect(read({'distance': unknown}).distance, null, 'distance $unknown');
    }
    expect(read({'distance': 0.0}).distance, 0.0);
    for (final silent in [0.0, 127.0, double.nan, null]) {
      expect(read({'rssi': silent}).rssi, null, 'rssi $silent');
    }
    for (final heard in [-1.0, 20.0]) {
      expect(read({'rssi': heard}).rssi, heard);
    }
    expect(
      '${read({'rssi': 0.0, 'distance': -1.0, 'proximity': 'unknown', 'mac': ''})}',
      '2023-11-14T22:13:20.987Z Lobby $uuid/1/2 silent unknown',
    );
  });

  test('a device without a beacon frame is no beacon', () {
    expect(read({'majorId': -1, 'minorId': -1}).isBeacon, false);
    expect(read({'majorId': 0, 'minorId': 0}).isBeacon, true);
  });

  test('every entry counts for equality', () {
    expect(read(), read());
    expect(read().hashCode, read().hashCode);
    for (final MapEntry(:key, :value) in event().entries) {
      final other = switch (value) {
        'near' => 'far',
        final num number => number + 1,
        _ => '',
      };
      expect(read({'$key': other}) == read(), false, '$key');
    }
  });

  test('an event that cannot be read says which entry is wrong', () async {
    for (final key in event().keys) {
      final error = await expectThrows<FormatException>(() => read({'$key': #wrong}));
      expect(error.message.contains('"$key"'), true, error.message);
      if (key != 'rssi' && key != 'distance') {
        await expectThrows<FormatException>(() => Detection.fromEvent(event()..remove(key)));
      }
    }
    await expectThrows<FormatException>(() => read({'proximity': 'close'}));
    await expectThrows<FormatException>(() => read({'rssi': -60}));
    await expectThrows<FormatException>(() => Detection.fromEvent(null));
    expect(read({'more': 1}), read());
  });

  test('filters are equal by what they ask for', () {
    BeaconFilter filter({String of = uuid, int? majorId = 1, int? minorId = 2, String? label}) =>
        BeaconFilter(uuid: of, majorId: majorId, minorId: minorId, identifier: label);
    expect(filter(of: uuid.toLowerCase()), filter());
    expect(filter(of: uuid.toLowerCase()).hashCode, filter().hashCode);
    for (final other in [
      filter(of: uuid.replaceFirst('E', 'F')),
      filter(majorId: null),
      filter(minorId: null),
      filter(label: ''),
    ]) {
      expect(other == filter(), false, '$other');
    }
    expect('${filter(label: 'Lobby')}', 'BeaconFilter($uuid/1/2, Lobby)');
    expect('${filter(majorId: null)}', 'BeaconFilter($uuid//2)');
    expect('${filter(minorId: null)}', 'BeaconFilter($uuid/1)');
    expect('${filter(majorId: null, minorId: null)}', 'BeaconFilter($uuid)');
  });

  test('a filter that no beacon can meet is refused', () async {
    for (final wrong in [
      '',
      'E2C56DB5',
      '${uuid}0',
      '0$uuid',
      uuid.replaceAll('-', ''),
      'G${uuid.substring(1)}',
    ]) {
      await expectThrows<ArgumentError>(() => BeaconFilter(uuid: wrong));
    }
    for (final wrong in [-1, 65536]) {
      await expectThrows<ArgumentError>(() => BeaconFilter(uuid: uuid, majorId: wrong));
      await expectThrows<ArgumentError>(() => BeaconFilter(uuid: uuid, minorId: wrong));
    }
    BeaconFilter(uuid: uuid, majorId: 0, minorId: 65535);
  });
}
