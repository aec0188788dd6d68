import 'dart:async';

import 'package:flutter/services.dart';
import 'package:flutter/stub_engine.dart';
import 'package:flutter/widgets.dart';
import 'package:nimbrel/nimbrel.dart';
import 'package:nimbrel/src/method_channels.dart';

import 'harness.dart';
import 'values_test.dart' show event, read, uuid;

const methods = 'com.quorvane.nimbrel/methods';
const events = 'com.quorvane.nimbrel/events';

/// The phone at the other end of the channels: notes what it is called for, and replies from
/// [replies].
class Phone {
  Phone() {
    StubEngine.reset();
    NimbrelPlatform.instance = MethodChannels();
    StubEngine.handlers[methods] = (method, arguments) async {
      calls.add(arguments == null ? method : '$method $arguments');
      return switch (replies[method]) {
        final Future<Object?> later => await later,
        final Object error when error is Exception => throw error,
        final reply => reply,
      };
    };
    StubEngine.handlers[events] = (method, arguments) async => calls.add(method);
  }

  final calls = <String>[];
  final replies = <String, Object?>{
    'checkPermissionStatus': 'AUTHORIZED',
    'requestPermissions': true,
    'startDetection': true,
    'stopDetection': true,
    'updateConfig': true,
  };

  void send(Object? event) => StubEngine.sinks[events]!(event);
}

/// Until all that is under way has been answered.
Future<void> settled() => Future<void>.delayed(Duration.zero);

/// Runs [body] with timers that wait for `fire`.
Future<void> withTimers(Future<void> Function(void Function() fire) body) async {
  final waiting = <void Function()>[];
  await runZoned(
    () => body(() {
      final due = [...waiting];
      waiting.clear();
      for (final timer in due) {
        timer();
      }
    }),
    zoneSpecification: ZoneSpecification(
      createTimer: (self, parent, zone, duration, callback) {
        if (duration > Duration.zero) {
          waiting.add(callback);
          return parent.createTimer(zone, const Duration(days: 1), () {})..cancel();
        }
        return parent.createTimer(zone, duration, callback);
      },
    ),
  );
}

void nimbrelTests() {
  test('the calls go over the channel as the plug-in knows them', () async {
    final phone = Phone();
    expect(await Nimbrel.checkPermissionStatus(), PermissionStatus.authorized);
    expect(await Nimbrel.requestPermissions(), true);
    expect(
      await Nimbrel.startDetection(
        filters: [
          BeaconFilter(uuid: uuid),
          BeaconFilter(uuid: uuid, majorId: 1, minorId: 0, identifier: ''),
        ],
      ),
      true,
    );
    expect(await Nimbrel.updateConfig(isInForeground: false), true);
    expect(await Nimbrel.stopDetection(), true);
    expect(await Nimbrel.startDetection(), true);
    expect(phone.calls, [
      'checkPermissionStatus',
      'requestPermissions',
      'startDetection {filters: [{uuid: $uuid}, '
          '{uuid: $uuid, majorId: 1, minorId: 0, identifier: }]}',
      'updateConfig {isInForeground: false}',
      'stopDetection',
      'startDetection {filters: []}',
    ]);
  });

  test('each word for the permission is understood, and no other', () async {
    final phone = Phone();
    for (final (word, status) in [
      ('AUTHORIZED', PermissionStatus.authorized),
      ('DENIED', PermissionStatus.denied),
      ('RESTRICTED', PermissionStatus.restricted),
      ('NOT_DETERMINED', PermissionStatus.notDetermined),
    ]) {
      phone.replies['checkPermissionStatus'] = word;
      expect(await Nimbrel.checkPermissionStatus(), status);
    }
    for (final wrong in ['authorized', null, true]) {
      phone.replies['checkPermissionStatus'] = wrong;
      await expectThrows<FormatException>(Nimbrel.checkPermissionStatus);
    }
    for (final wrong in [null, 'true', 1]) {
      phone.replies['stopDetection'] = wrong;
      await expectThrows<FormatException>(Nimbrel.stopDetection);
    }
  });

  test('all listeners share one stream, which is open while anybody listens', () async {
    final phone = Phone();
    final heard = <String>[];
    final first = Nimbrel.detections.listen((detection) => heard.add('1 ${detection.name}'));
    final second = Nimbrel.detections.listen((detection) => heard.add('2 ${detection.name}'));
    await settled();
    phone.send(event({'name': 'A'}));
    await settled();
    await first.cancel();
    phone.send(event({'name': 'B'}));
    await settled();
    await second.cancel();
    expect(heard, ['1 A', '2 A', '2 B']);
    final third = Nimbrel.detections.listen((detection) => heard.add('3 ${detection.name}'));
    await settled();
    phone.send(event({'name': 'C'}));
    await settled();
    await third.cancel();
    expect(heard.last, '3 C');
    expect(phone.calls, ['listen', 'cancel', 'listen', 'cancel']);
  });

  test('a malformed event is an error of the stream, which goes on', () async {
    final phone = Phone();
    final heard = <Object>[];
    final subscription = Nimbrel.detections.listen(heard.add, onError: heard.add);
    await settled();
    phone
      ..send(event({'ts': 'now'}))
      ..send('beacon')
      ..send(event());
    await settled();
    await subscription.cancel();
    expect(heard.map((each) => each is FormatException), [true, true, false]);
    expect(heard.last, read());
  });

  test('without the plug-in every call says so', () async {
    Phone();
    StubEngine.handlers.clear();
    await expectThrows<MissingPluginException>(Nimbrel.checkPermissionStatus);
    await expectThrows<MissingPluginException>(Nimbrel.requestPermissions);
    await expectThrows<MissingPluginException>(Nimbrel.startDetection);
    await expectThrows<MissingPluginException>(Nimbrel.startDetection);
    await expectThrows<MissingPluginException>(Nimbrel.stopDetection);
    await expectThrows<MissingPluginException>(() => Nimbrel.updateConfig(isInForeground: true));
    await Nimbrel.detections.listen((_) {}).cancel();
    await settled();
    expect(StubEngine.reported.map((error) => error is MissingPluginException), [true, true]);
  });

  test('a second start is refused until the first has been stopped', () async {
    final phone = Phone();
    phone.replies['startDetection'] = false;
    expect(await Nimbrel.startDetection(), false);
    phone.replies['startDetection'] = true;
    final started = Nimbrel.startDetection();
    await expectThrows<StateError>(Nimbrel.startDetection);
    expect(await started, true);
    await expectThrows<StateError>(Nimbrel.startDetection);
    phone.replies['stopDetection'] = false;
    await Nimbrel.stopDetection();
    await expectThrows<StateError>(Nimbrel.startDetection);
    phone.replies['stopDetection'] = true;
    await Nimbrel.stopDetection();
    expect(await Nimbrel.startDetection(), true);
    NimbrelPlatform.instance = MethodChannels();
    expect(await Nimbrel.startDetection(), true, 'another platform');
  });

  permissionTests();
}

void permissionTests() {
  void pass(List<AppLifecycleState> states) => states.forEach(AppLifecycleListener.tell);
  void away() =>
      pass([AppLifecycleState.inactive, AppLifecycleState.hidden, AppLifecycleState.paused]);
  void back() =>
      pass([AppLifecycleState.hidden, AppLifecycleState.inactive, AppLifecycleState.resumed]);

  /// Makes the request and plays [body]; the answers that came meanwhile, one at most.
  Future<List<Object>> request(
    Future<void> Function(Phone phone, Completer<Object?> reply, void Function() fire) body, {
    String status = 'NOT_DETERMINED',
  }) async {
    final answers = <Object>[];
    await withTimers((fire) async {
      final phone = Phone();
      final reply = Completer<Object?>();
      phone.replies['requestPermissions'] = reply.future;
      phone.replies['checkPermissionStatus'] = status;
      Nimbrel.requestPermissions().then<void>(answers.add, onError: answers.add);
      await settled();
      await body(phone, reply, fire);
      await settled();
    });
    expect(AppLifecycleListener.count, answers.isEmpty ? 1 : 0, 'listeners');
    AppLifecycleListener.forget();
    return answers;
  }

  test('a request ends with the answer of the phone', () async {
    for (final granted in [true, false]) {
      expect(await request((phone, reply, fire) async => reply.complete(granted)), [granted]);
    }
  });

  test('an unanswered request ends with the status when the application comes back', () async {
    for (final (status, granted) in [('AUTHORIZED', true), ('DENIED', false)]) {
      final answers = await request(status: status, (phone, reply, fire) async {
        away();
        await settled();
        expect(phone.calls, ['requestPermissions'], 'away');
        back();
        await settled();
        reply.complete(!granted);
      });
      expect(answers, [granted], status);
    }
  });

  test('what the application tells of the foreground counts, too', () async {
    final answers = await request(status: 'AUTHORIZED', (phone, reply, fire) async {
      await Nimbrel.updateConfig(isInForeground: false);
      await Nimbrel.updateConfig(isInForeground: true);
    });
    expect(answers, [true]);
  });

  test('coming to the foreground without having left it says nothing', () async {
    final answers = await request(status: 'DENIED', (phone, reply, fire) async {
      AppLifecycleListener.tell(AppLifecycleState.resumed);
    });
    expect(answers, <Object>[]);
  });

  test('a status that is not determined yet is asked for again, a moment later', () async {
    for (final (later, granted) in [('AUTHORIZED', true), ('NOT_DETERMINED', false)]) {
      final answers = await request((phone, reply, fire) async {
        away();
        back();
        await settled();
        phone.replies['checkPermissionStatus'] = later;
        fire();
      });
      expect(answers, [granted], later);
    }
  });

  test('the next question on the screen puts the end off', () async {
    final answers = await request((phone, reply, fire) async {
      away();
      back();
      await settled();
      away();
      fire();
      await settled();
      reply.complete(true);
    });
    expect(answers, [true]);
  });

  test('an error of the phone ends the request', () async {
    final answers = await request((phone, reply, fire) async {
      reply.completeError(PlatformFailure());
    });
    expect(answers.single is PlatformFailure, true);
  });

  test('a request joins the one that waits, and the next one asks anew', () async {
    final phone = Phone();
    final reply = Completer<Object?>();
    phone.replies['requestPermissions'] = reply.future;
    final answers = Future.wait([Nimbrel.requestPermissions(), Nimbrel.requestPermissions()]);
    reply.complete(true);
    expect(await answers, [true, true]);
    expect(phone.calls.length, 1);
    await Nimbrel.requestPermissions();
    expect(phone.calls.length, 2);
  });
}

class PlatformFailure implements Exception {}
