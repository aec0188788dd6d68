/// What the user and the system let the application do with the location service.
///
/// Both ways of detection need it, the Bluetooth scan too.
enum PermissionStatus {
  /// Permission at all times, or while the application is in use; the two are not told apart.
  authorized,

  /// The user has refused, or has switched off the location service for the application.
  denied,

  /// The device does not allow it (parental controls, a management profile).
  restricted,

  /// The user was not asked yet.
  notDetermined,
}
