import 'dart:async';
import 'dart:convert';
import 'dart:io';

import 'package:flutter/services.dart';
import 'package:flutter/stub_engine.dart';
import 'package:nimbrel/desk.dart';
import 'package:nimbrel/nimbrel.dart';
import 'package:nimbrel/src/method_channels.dart';

import 'harness.dart';

const lobby = 'E2C56DB5-DFFB-48D2-B060-D0F5A71096E0';
const gallery = '6A1F3C52-8E0B-4D27-9C64-1B7E5D20F3A8';
const second = Duration(seconds: 1);

final root = Platform.script.resolve('../../').toFilePath();
final nimbrel = Platform.environment['NIMBREL'] ?? '${root}build/release/nimbrel';
final walk = '${root}example/walk.btsnoop';

/// Runs [body] with a desk as the platform, which is stopped in the end.
Future<void> atDesk(Future<void> Function(Desk desk) body, {Future<Desk>? started}) async {
  final desk = await (started ?? Desk.start());
  NimbrelPlatform.instance = desk;
  try {
    await body(desk);
  } finally {
    await desk.stop();
  }
}

/// The lines of the transcript that have that key.
Stream<Map<String, Object?>> linesWith(String key, Desk desk) =>
    desk.transcript.where((line) => line.containsKey(key));

/// What an application detects that starts at once, until nothing more happens.
Future<List<Detection>> detected(Desk desk, [List<BeaconFilter> filters = const []]) async {
  final heard = <Detection>[];
  Nimbrel.detections.listen(heard.add);
  await Nimbrel.startDetection(filters: filters);
  await desk.waitUntilEnd();
  return heard;
}

/// Hands a file of that content to [body].
Future<void> withFile(String name, String content, Future<void> Function(String path) body) async {
  final folder = await Directory.systemTemp.createTemp('nimbrel');
  try {
    final file = File('${folder.path}/$name');
    await file.writeAsString(content);
    await Process.run('chmod', ['+x', file.path]);
    await body(file.path);
  } finally {
    await folder.delete(recursive: true);
  }
}

/// Hands [body] a command that runs nimbrel, and a function that waits for its end and returns its
/// exit status.
Future<void> withStatus(
  Future<void> Function(String command, Future<Object?> Function() status) body,
) async {
  final script = '#!/bin/sh\n$nimbrel "\$@"\necho \$? >"\$(dirname "\$0")/ended"\n';
  await withFile('wrapper', script, (path) async {
    final ended = '${File(path).parent.path}/ended';
    await Process.run('mkfifo', [ended]);
    Future<Object?> status() async => (await Process.run('cat', [ended])).stdout;
    await body(path, () => status().timeout(const Duration(minutes: 1)));
  });
}

/// The detections that the command prints as `key` of its lines, or as the lines themselves.
Future<List<Object?>> printed(List<String> arguments, {String? key}) async {
  final run = await Process.run(nimbrel, arguments, stdoutEncoding: utf8);
  expect(run.exitCode, 0, run.stderr as String);
  return const LineSplitter()
      .convert(run.stdout as String)
      .map((line) => jsonDecode(line) as Map<String, Object?>)
      .where((line) => key == null || line.containsKey(key))
      .map((line) => Detection.fromEvent(key == null ? line : line[key]))
      .toList();
}

Future<void> advertiseLobby(Desk desk) => desk.advertiseBeacon(
  uuid: lobby,
  rssi: -55,
  every: const Duration(milliseconds: 100),
  lasting: const Duration(minutes: 5),
);

/// A command whose input ends after three lines.
final cutOff = r'''
#!/bin/sh
for line in 1 2 3; do read -r step; printf '%s\n' "$step"; done | NIMBREL "$@"
echo Bye >&2
'''.replaceFirst('NIMBREL', nimbrel);

/// A scenario's steps in the air, behind the calls of its application.
const steps = '''
# A phone and its air.
{"phone": {"authorization": "whenInUse", "clock": 1700000000.5}}
{"at": 0, "listen": true}
{"call": "startDetection", "arguments": CALL}

{"at": 1, "advertise": {"address": "C6:55:44:33:22:11", "name": "Lobby", "manufacturerData": "4C000215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5", "rssi": -60}, "every": 0.5, "for": 10}
{"after": 1.5, "advertise": {"address": "C6:55:44:33:22:12", "rssi": -75.5}, "every": 1, "for": 10}
{"at": 5, "bluetooth": "poweredOff"}
{"after": 2.25, "bluetooth": "poweredOn"}
{"at": 9, "clock": 1800000000}
{"at": 60, "wait": true}
''';

void deskTests() {
  test('the application hears what simulate gives', () async {
    for (final (arguments, filters) in [
      ('{"filters": [{"uuid": "$lobby"}]}', [BeaconFilter(uuid: lobby)]),
      ('null', <BeaconFilter>[]),
    ]) {
      await withFile('air.jsonl', steps.replaceFirst('CALL', arguments), (path) async {
        await atDesk(started: Desk.start(scenario: path), (desk) async {
          final replies = <Object?>[];
          linesWith('reply', desk).listen(replies.add);
          final heard = await detected(desk, filters);
          expect(desk.time, const Duration(minutes: 1));
          expect(replies.length, 1, 'only the call of this program');
          expect(heard, await printed(['simulate', path], key: 'event'));
          expect(heard.length > 3, true, '${heard.length} detections');
        });
      });
    }
  });

  test('a recording gives what scan gives, and simulate of its scenario', () async {
    for (final (options, filters) in [
      (
        ['--filter', '$gallery/1=Gallery'],
        [BeaconFilter(uuid: gallery, majorId: 1, identifier: 'Gallery')],
      ),
      (<String>[], <BeaconFilter>[]),
    ]) {
      var heard = <Detection>[];
      await atDesk(started: Desk.start(capture: walk), (desk) async {
        heard = await detected(desk, filters);
      });
      expect(heard, await printed(['scan', '--json', '--quiet', ...options, walk]));
      await withFile('walk.jsonl', '', (path) async {
        final mode = options.isEmpty ? ['--generic'] : options;
        final made = await Process.run(nimbrel, ['convert', walk, path, '--force', ...mode]);
        expect((made.exitCode, made.stderr), (0, ''));
        expect(heard, await printed(['simulate', path], key: 'event'));
      });
    }
  });

  test('what the application has begun to do is played before time goes on', () {
    return atDesk((desk) async {
      final times = <Object?>[];
      linesWith('reply', desk).listen((line) => times.add(line['at']));
      Future<void> start() async {
        await Nimbrel.checkPermissionStatus();
        await Nimbrel.startDetection();
      }

      unawaited(start());
      await desk.wait(second);
      expect(times, [0.0, 0.0]);
    });
  });

  test('what the application makes of an event is played before time goes on', () {
    return atDesk((desk) async {
      final heard = <Duration>[];
      Nimbrel.detections.listen((detection) async {
        heard.add(desk.time);
        await Nimbrel.stopDetection();
        await Nimbrel.startDetection();
        await Nimbrel.stopDetection();
      });
      await Nimbrel.startDetection(filters: [BeaconFilter(uuid: lobby)]);
      await advertiseLobby(desk);
      final calls = <Object?>[];
      linesWith('reply', desk).listen((line) => calls.addAll([line['reply'], line['at']]));
      await desk.wait(const Duration(minutes: 1));
      expect(heard.length, 1);
      final at = calls[1];
      expect(calls, ['stopDetection', at, 'startDetection', at, 'stopDetection', at]);
      expect((at! as num) * 1e6 - heard.single.inMicroseconds < 100001, true);
    });
  });

  test('the channels speak the language of the plug-in', () {
    return atDesk((desk) async {
      StubEngine.reset();
      const events = 'com.quorvane.nimbrel/events';
      StubEngine.handlers['com.quorvane.nimbrel/methods'] = desk.invoke;
      StreamSubscription<Object?>? listening;
      StubEngine.handlers[events] = (method, _) async {
        await listening?.cancel();
        listening = method == 'listen'
            ? desk.events.listen((event) => StubEngine.sinks[events]?.call(event))
            : null;
      };
      NimbrelPlatform.instance = MethodChannels();
      final heard = <Detection>[];
      final subscription = Nimbrel.detections.listen(heard.add);
      expect(await Nimbrel.checkPermissionStatus(), PermissionStatus.authorized);
      expect(await Nimbrel.requestPermissions(), true);
      expect(await Nimbrel.updateConfig(isInForeground: true), true);
      final filter = BeaconFilter(uuid: lobby, majorId: 1, minorId: 1, identifier: 'Lobby');
      expect(await Nimbrel.startDetection(filters: [filter]), true);
      await advertiseLobby(desk);
      await desk.wait(second * 3);
      expect(await Nimbrel.stopDetection(), true);
      expect(heard.first.identifier, 'Lobby');
      expect(heard.first.isBeacon, true);
      await subscription.cancel();
      await expectThrows<MissingPluginException>(() => desk.invoke('startdetection'));
    });
  });

  test('each step does what it says', () {
    const phone = Phone(systemVersion: '13.7', regionExitDelay: second);
    return atDesk(started: Desk.start(phone: phone), (desk) async {
      Future<List<Object?>> during(Future<void> step, String key) async {
        final seen = <Object?>[];
        final subscription = linesWith(key, desk).listen((line) => seen.add(line[key]));
        await step;
        await subscription.cancel();
        return seen;
      }

      final heard = <Detection>[];
      Nimbrel.detections.listen(heard.add);
      await Nimbrel.startDetection(filters: [BeaconFilter(uuid: lobby, identifier: 'Lobby')]);
      await desk.range(
        region: 'beacon_E2C56DB5',
        beacons: [
          for (final (minor, rssi, accuracy, proximity) in [
            (2, -70, 2.5, Proximity.near),
            (3, 0, -1.0, Proximity.unknown),
          ])
            RangedBeacon(
              uuid: lobby,
              majorId: 1,
              minorId: minor,
              rssi: rssi,
              accuracy: accuracy,
              proximity: proximity,
            ),
        ],
      );
      expect(heard.map((one) => (one.minorId, one.rssi, one.distance, one.proximity)), [
        (2, -70, 2.5, Proximity.near),
        (3, null, null, Proximity.unknown),
      ]);
      expect(await during(desk.exit('beacon_E2C56DB5'), 'request'), ['stopRangingBeacons']);
      expect(await during(desk.enter('beacon_E2C56DB5'), 'request'), ['startRangingBeacons']);
      expect(await during(desk.enter('home', isBeacon: false), 'request'), <Object?>[]);
      for (final failure in [
        desk.failLocation('lost'),
        desk.failMonitoring('lost', region: 'beacon_E2C56DB5'),
        desk.failMonitoring('lost'),
        desk.failRanging('lost', region: 'beacon_E2C56DB5'),
      ]) {
        expect('${(await during(failure, 'log')).single}'.contains('lost'), true);
      }
      await Nimbrel.stopDetection();

      heard.clear();
      await Nimbrel.startDetection();
      await desk.setClock(DateTime.utc(2030));
      const bytes = [0x0A, 0x00, 0xFF, 0x01, 0x02, 0x03];
      await desk.discover(identifier: lobby, name: 'Beacon', manufacturerData: bytes, rssi: -60);
      await desk.advertise(
        address: '00:1B:DC:07:32:EE',
        addressType: AddressType.public,
        name: 'Door Beacon',
        manufacturerData: [0x0A, 0x01, 0, 0, 0, 0],
        rssi: -50,
      );
      const address = 'C6:55:44:33:22:11';
      final name = [7, 0x09, ...'Beacon'.codeUnits];
      const made = [7, 0xFF, 0x0A, 0x02, 0, 0, 0, 0];
      await desk.advertiseData(address: address, data: name, rssi: -40);
      await desk.advertiseData(address: address, data: made, scanResponse: true, rssi: -45);
      await desk.advertiseBeacon(uuid: lobby, majorId: 258, minorId: 65535, txPower: -61, rssi: -61);
      expect(heard.map((one) => (one.name, one.mac, one.rssi, one.isBeacon)), [
        ('Beacon', '0A:00:FF:01:02:03', -60, false),
        ('Door Beacon', '0A:01:00:00:00:00', -50, false),
        ('Beacon', '', -40, false),
        ('Beacon', '0A:02:00:00:00:00', -45, false),
        ('', '4C:00:02:15:E2:C5', -61, true),
      ]);
      expect(
        (heard.last.uuid, heard.last.majorId, heard.last.minorId, heard.last.txPower),
        (lobby, 258, 65535, -61),
      );
      expect(heard.first.time, DateTime.utc(2030));
      for (final (state, line) in [
        (BluetoothState.poweredOff, '❌ Bluetooth is off'),
        (BluetoothState.poweredOn, '✅ Bluetooth is on and ready'),
      ]) {
        expect((await during(desk.setBluetooth(state), 'log')).first, line);
      }
      await desk.setAuthorization(Authorization.denied);
      expect(await Nimbrel.checkPermissionStatus(), PermissionStatus.denied);
      await expectThrows<ArgumentError>(() => desk.advertiseBeacon(uuid: 'lobby', rssi: -1));
      await expectThrows<RangeError>(
        () => desk.advertiseBeacon(uuid: lobby, majorId: 65536, rssi: -1),
      );
    });
  });

  test('the user answers the request for permission, or leaves it', () async {
    for (final (prompt, granted) in [
      (PromptAnswer.whenInUse, true),
      (PromptAnswer.denied, false),
    ]) {
      final phone = Phone(authorization: Authorization.notDetermined, prompt: prompt);
      await atDesk(started: Desk.start(phone: phone), (desk) async {
        final answer = Nimbrel.requestPermissions();
        await desk.wait(second * 2);
        expect(await answer, granted);
      });
    }
    const phone = Phone(authorization: Authorization.whenInUse, prompt: PromptAnswer.whenInUse);
    await atDesk(started: Desk.start(phone: phone), (desk) async {
      var answered = false;
      final answer = Nimbrel.requestPermissions().whenComplete(() => answered = true);
      await desk.wait(second * 10);
      expect(answered, false, 'keeps what there is: nobody is told');
      desk
        ..setForeground(isInForeground: false)
        ..setForeground(isInForeground: true);
      expect(await answer, true);
    });
  });

  test('a step that cannot be played is an error, and the desk goes on', () {
    return atDesk((desk) async {
      final error = await expectThrows<DeskException>(() => desk.play({'foo': 1}));
      expect(error.message.contains('foo'), true, error.message);
      expect(await Nimbrel.startDetection(), true);
      await expectThrows<ArgumentError>(() => desk.wait(-second));
      final waits = desk.wait(second);
      await expectThrows<StateError>(() => desk.wait(second));
      await waits;
      await expectThrows<StateError>(desk.waitUntilEnd);
    });
  });

  test('what is wrong with a scenario is said with file and line', () async {
    for (final (content, line, what) in [
      ('{"at": 0, "wait": true}\n\nnonsense', 3, ''),
      ('[]', 1, 'object'),
      ('{"at": "now", "wait": true}', 1, 'seconds'),
      ('{"at": 1, "after": 1, "wait": true}', 1, 'seconds'),
      ('{"at": 1, "wait": true}\n{"at": 0.5, "wait": true}', 2, 'backwards'),
      ('# first\n{"at": 1, "foo": true}', 2, 'foo'),
    ]) {
      await withFile('wrong.jsonl', content, (path) async {
        final error = await expectThrows<DeskException>(
          () => atDesk(started: Desk.start(scenario: path), (desk) => desk.waitUntilEnd()),
        );
        expect(error.message.startsWith('$path:$line: '), true, error.message);
        expect(error.message.contains(what), true, error.message);
      });
    }
  });

  test('what a desk cannot be started with is said', () async {
    for (final (start, what) in [
      (() => Desk.start(command: '/nowhere/nimbrel'), '/nowhere/nimbrel'),
      (() => Desk.start(scenario: '/nowhere/day.jsonl'), '/nowhere/day.jsonl'),
      (() => Desk.start(capture: '/nowhere/walk.btsnoop'), '/nowhere/walk.btsnoop'),
      (() => Desk.start(phone: const Phone(systemVersion: 'new')), 'is not a version'),
      (() => Desk.start(command: '/bin/false'), 'status 1'),
      (() => Desk.start(command: '/bin/echo'), 'desk'),
    ]) {
      final error = await expectThrows<DeskException>(start);
      expect(error.message.contains(what), true, error.message);
    }
    await expectThrows<ArgumentError>(() => Desk.start(live: true, capture: walk));
    for (final speed in [0.0, -1.0, double.nan, double.infinity]) {
      await expectThrows<ArgumentError>(() => Desk.start(speed: speed));
    }
    await expectThrows<ArgumentError>(() => Desk.start(resolution: Duration.zero));
    await withFile('phone.jsonl', '{"phone": {}}', (path) async {
      await expectThrows<ArgumentError>(() => Desk.start(scenario: path, phone: const Phone()));
    });
  });

  test('a child that ends by itself takes the desk with it', () async {
    await withFile('short', cutOff, (path) async {
      final desk = await Desk.start(command: path);
      NimbrelPlatform.instance = desk;
      final heard = <Object>[];
      final ended = Completer<void>();
      Nimbrel.detections.listen(heard.add, onError: heard.add, onDone: ended.complete);
      await Nimbrel.startDetection();
      final error = await expectThrows<DeskException>(() => desk.wait(second));
      expect(error.message, 'Bye');
      await ended.future;
      expect('${heard.single}', 'DeskException: Bye');
      await expectThrows<DeskException>(Nimbrel.checkPermissionStatus);
      await expectThrows<DeskException>(desk.stop);
    });
  });

  test('a start that fails ends the child', () async {
    await withStatus((command, status) async {
      final ended = status();
      await expectThrows<DeskException>(
        () => Desk.start(command: command, phone: const Phone(systemVersion: 'new')),
      );
      expect(await ended, '0\n');
    });
  });

  test('the child ends with a program that is killed', () async {
    await withStatus((command, status) async {
      final program = '${File(command).parent.path}/main.dart';
      await File(program).writeAsString('''
import 'package:nimbrel/desk.dart';
Future<void> main() async {
  final desk = await Desk.start(command: '$command');
  print('started');
  await desk.wait(const Duration(days: 1));
}
''');
      final killed = await Process.start(Platform.resolvedExecutable, [
        '--packages=${root}tests/dart/packages.json',
        program,
      ]);
      await killed.stdout.transform(utf8.decoder).firstWhere((text) => text.contains('started'));
      killed.kill(ProcessSignal.sigkill);
      expect(await status(), '0\n');
    });
  });

  test('with a speed, time passes by itself', () async {
    await withFile('air.jsonl', steps.replaceFirst('CALL', 'null'), (path) async {
      await atDesk(started: Desk.start(scenario: path, speed: 200), (desk) async {
        expect((await detected(desk)).isNotEmpty, true);
        expect(desk.time >= second * 60, true, '${desk.time}');
        final before = desk.time;
        await desk.wait(second * 10);
        expect(desk.time - before >= second * 10, true);
      });
    });
    await atDesk(started: Desk.start(capture: walk, speed: 1000), (desk) async {
      expect((await detected(desk)).isNotEmpty, true);
    });
  });

  test('a call that waits for its reply ends with the child', () async {
    await withFile('short', cutOff, (path) async {
      final desk = await Desk.start(
        phone: const Phone(authorization: Authorization.notDetermined),
        command: path,
      );
      final request = expectThrows<DeskException>(desk.requestPermissions);
      await desk.play({'wait': true}).catchError((Object _) {});
      await request;
      await expectThrows<DeskException>(desk.stop);
    });
  });

  test('a stopped desk does not wait for the next step of its scenario', () async {
    await withFile('later.jsonl', '{"at": 86400, "wait": true}', (path) async {
      await atDesk(started: Desk.start(scenario: path, speed: 1), (desk) async {
        final ends = desk.waitUntilEnd();
        unawaited(desk.stop());
        await ends;
      });
    });
  });

  test('a stopped desk plays no more', () async {
    final desk = await Desk.start(phone: const Phone(authorization: Authorization.notDetermined));
    NimbrelPlatform.instance = desk;
    unawaited(Nimbrel.requestPermissions());
    final subscription = Nimbrel.detections.listen((_) {});
    await desk.stop();
    await subscription.cancel();
    await expectThrows<StateError>(Nimbrel.startDetection);
    await desk.stop();
  });
}
