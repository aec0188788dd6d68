/// Detects Bluetooth Low Energy beacons near an iOS device.
///
/// An application calls `Nimbrel` and hears each `Detection`. Its tests put another
/// `NimbrelPlatform` in the phone's place, such as the desk of `package:nimbrel/desk.dart`.
library;

export 'src/beacon_filter.dart';
export 'src/detection.dart';
export 'src/nimbrel.dart';
export 'src/nimbrel_platform.dart' show NimbrelPlatform;
export 'src/permission_status.dart';
