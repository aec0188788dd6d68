/// What went wrong at the desk: the command is missing, a file cannot be used, a step cannot be
/// played, or the command has ended by itself.
final class DeskException implements Exception {
  const DeskException(this.message);

  /// What is wrong, and what to do about it.
  final String message;

  @override
  String toString() => 'DeskException: $message';
}
