/// As much of Flutter's library of this name as the package uses. Source: its public documentation.
library;

enum AppLifecycleState { detached, resumed, inactive, hidden, paused }

/// A test moves the application with [AppLifecycleListener.tell].
class AppLifecycleListener {
  AppLifecycleListener({this.onStateChange}) {
    _listeners.add(this);
  }

  static final _listeners = <AppLifecycleListener>{};

  /// How many are not disposed of.
  static int get count => _listeners.length;

  final void Function(AppLifecycleState)? onStateChange;

  static void tell(AppLifecycleState state) {
    for (final listener in _listeners.toList()) {
      listener.onStateChange?.call(state);
    }
  }

  /// Drops those that a test has left behind.
  static void forget() => _listeners.clear();

  void dispose() => _listeners.remove(this);
}
