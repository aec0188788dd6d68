/// The plug-in's own code on Linux, for an application's tests and for runs on a desktop.
///
/// [Desk] starts the command `nimbrel desk` and stands in for the phone behind `Nimbrel`: the
/// application's Dart code talks to the plug-in's native code, while the test plays the phone, its
/// user and the air.
///
/// An automated test of an application's logic:
///
/// ```dart
/// import 'package:nimbrel/desk.dart';
/// import 'package:nimbrel/nimbrel.dart';
///
/// /// What is tested: opens the door when the lobby's beacon is near, once for each visit.
/// class Door {
///   int opened = 0;
///   bool _visiting = false;
///
///   Future<void> watch() async {
///     Nimbrel.detections.listen((detection) {
///       final near = switch (detection.proximity) {
///         Proximity.immediate || Proximity.near => true,
///         Proximity.far => false,
///         Proximity.unknown => _visiting,
///       };
///       if (near && !_visiting) {
///         opened += 1;
///       }
///       _visiting = near;
///     });
///     await Nimbrel.startDetection(filters: [BeaconFilter(uuid: lobby)]);
///   }
/// }
///
/// const lobby = 'E2C56DB5-DFFB-48D2-B060-D0F5A71096E0';
///
/// Future<void> main() async {
///   final desk = await Desk.start();
///   NimbrelPlatform.instance = desk;
///   try {
///     final door = Door();
///     await door.watch();
///     await desk.wait(const Duration(seconds: 5));
///     assert(door.opened == 0, 'nobody is near');
///
///     await desk.advertiseBeacon(
///       uuid: lobby,
///       rssi: -55,
///       every: const Duration(milliseconds: 100),
///       lasting: const Duration(minutes: 2),
///     );
///     await desk.wait(const Duration(minutes: 1));
///     assert(door.opened == 1, 'near: once');
///
///     await desk.setBluetooth(BluetoothState.poweredOff);
///     await desk.wait(const Duration(seconds: 5));
///     await desk.setBluetooth(BluetoothState.poweredOn);
///     await desk.wait(const Duration(seconds: 5));
///     assert(door.opened == 1, 'still the same visit');
///   } finally {
///     await desk.stop();
///   }
/// }
/// ```
///
/// In a test that `flutter test` runs, that is `test`, not `testWidgets`: the clock of the latter
/// stands still while a process answers.
///
/// An application that runs on the desktop chooses its platform before it calls `Nimbrel`:
///
/// ```dart
/// import 'dart:io';
///
/// import 'package:nimbrel/desk.dart';
/// import 'package:nimbrel/nimbrel.dart';
///
/// Future<void> main(List<String> arguments) async {
///   Desk? desk;
///   if (Platform.isLinux) {
///     desk = switch (arguments) {
///       // A recorded walk, so many times as fast as it was.
///       [final walk, final speed] => await Desk.start(capture: walk, speed: double.parse(speed)),
///       // The machine's own adapter.
///       _ => await Desk.start(live: true),
///     };
///     NimbrelPlatform.instance = desk;
///   }
///   Nimbrel.detections.listen(print);
///   await Nimbrel.startDetection();
///   await desk?.airEnded;
///   await desk?.stop();
/// }
/// ```
library;

export 'src/desk/desk.dart';
export 'src/desk/desk_exception.dart';
export 'src/desk/phone.dart';
