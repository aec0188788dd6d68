/// An audio guide for a gallery: it says in which room the visitor stands.
///
///     ./dev dart example/main.dart [CAPTURE | live]
///
/// It runs at the desk: on the walk that is recorded beside this file, on a capture of your own, or
/// live with the machine's adapter, until Ctrl-C. On the phone the same [Guide] needs no desk.
library;

import 'dart:io';

import 'package:nimbrel/desk.dart';
import 'package:nimbrel/nimbrel.dart';

/// Follows the visitor from room to room.
class Guide {
  Guide(this._say);

  /// The rooms, by the major and minor values of their beacons.
  static const _rooms = {(1, 1): 'the entrance', (1, 2): 'the first gallery', (2, 1): 'the café'};
  static const _withinMetres = 5;

  final void Function(DateTime time, String text) _say;
  String? _room;

  /// Begins to listen, and to detect; false without the permission for it.
  Future<bool> start() async {
    if (await Nimbrel.checkPermissionStatus() != PermissionStatus.authorized &&
        !await Nimbrel.requestPermissions()) {
      return false;
    }
    Nimbrel.detections.listen(_hear);
    return Nimbrel.startDetection(
      filters: [BeaconFilter(uuid: '6a1f3c52-8e0b-4d27-9c64-1b7e5d20f3a8')],
    );
  }

  void _hear(Detection detection) {
    final room = _rooms[(detection.majorId, detection.minorId)];
    final distance = detection.distance;
    if (room != null && room != _room && distance != null && distance < _withinMetres) {
      _room = room;
      _say(detection.time, 'Welcome to $room.');
    }
  }
}

Future<void> main(List<String> arguments) async {
  final Desk desk;
  try {
    desk = switch (arguments) {
      ['live'] => await Desk.start(live: true),
      [final capture] => await Desk.start(capture: capture),
      _ => await Desk.start(capture: Platform.script.resolve('walk.btsnoop').toFilePath()),
    };
  } on DeskException catch (error) {
    stderr.writeln(error.message);
    exit(2);
  }
  NimbrelPlatform.instance = desk;

  final guide = Guide((time, text) {
    stdout.writeln('${time.toIso8601String().substring(11, 19)}  $text');
  });
  if (!await guide.start()) {
    stderr.writeln('The guide needs permission to use location.');
  } else if (arguments.firstOrNull == 'live') {
    // Ctrl-C ends the desk, too.
    await ProcessSignal.sigint.watch().first;
    exit(0);
  } else {
    await desk.waitUntilEnd();
  }
  await desk.stop();
}
