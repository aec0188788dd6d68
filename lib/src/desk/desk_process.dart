import 'dart:async';
import 'dart:collection';
import 'dart:convert';
import 'dart:io';

import 'desk_exception.dart';

/// The command `nimbrel desk`: steps go in one at a time, and its transcript comes out.
class DeskProcess {
  DeskProcess._(this._process, this._onLine, this._onEnd) {
    final lines = _process.stdout
        .transform(const Utf8Decoder(allowMalformed: true))
        .transform(const LineSplitter())
        .listen(_read)
        .asFuture<void>();
    final notes = _process.stderr
        .transform(const Utf8Decoder(allowMalformed: true))
        .transform(const LineSplitter())
        .listen((line) {
          _lastNote = line;
          stderr.writeln(line);
        })
        .asFuture<void>();
    // A write to a command that has ended fails; that it has ended is told below.
    _process.stdin.done.ignore();
    Future.wait([lines, notes, _process.exitCode]).then((_) => _processEnded());
  }

  /// Hands each line of the transcript to [onLine], and [onEnd] what ended the command by itself,
  /// or null if it was asked to end.
  static Future<DeskProcess> start(
    String command,
    List<String> arguments, {
    required void Function(Map<String, Object?> line) onLine,
    required void Function(DeskException? reason) onEnd,
  }) async {
    final Process process;
    try {
      process = await Process.start(command, arguments);
    } on ProcessException catch (error) {
      throw DeskException(
        '$command: ${error.message}. Build it with ./dev build in the folder of the package '
        'nimbrel, and name it: Desk.start(command: …), or NIMBREL in the environment.',
      );
    }
    return DeskProcess._(process, onLine, onEnd);
  }

  final Process _process;
  final void Function(Map<String, Object?> line) _onLine;
  final void Function(DeskException? reason) _onEnd;
  final _steps = Queue<_Step>();
  final _ended = Completer<void>();
  String? _lastNote;
  int _line = 0;
  bool _ending = false;

  /// Writes a line that is no step, and so not answered unless it is wrong. The next step fails
  /// then.
  void write(Map<String, Object?> object) {
    _line += 1;
    _process.stdin.writeln(jsonEncode(object));
  }

  /// Plays a step behind those that wait. [onSend] is called when its turn comes. Completes when
  /// it was played, with all that it brought about. Throws a [DeskException] if the command
  /// refuses it, or ends.
  Future<void> play(Map<String, Object?> object, {void Function()? onSend}) {
    if (_ending || _ended.isCompleted) {
      throw StateError('The desk has ended');
    }
    final step = _Step(jsonEncode(object), onSend);
    _steps.add(step);
    if (_steps.length == 1) {
      _send();
    }
    return step.played.future;
  }

  /// Whether no step waits or is played.
  bool get isIdle => _steps.isEmpty;

  /// Completes when no step waits or is played.
  Future<void> idle() async {
    while (_steps.isNotEmpty) {
      await _steps.last.played.future.then((_) {}, onError: (_) {});
    }
  }

  /// Ends the command, and completes when it has ended.
  Future<void> end() async {
    if (!_ending) {
      _ending = true;
      unawaited(_process.stdin.close().then((_) {}, onError: (_) {}));
    }
    final patience = Timer(const Duration(seconds: 30), () => _process.kill(ProcessSignal.sigkill));
    await _ended.future;
    patience.cancel();
  }

  void _send() {
    final step = _steps.first;
    step.onSend?.call();
    _line += 1;
    _process.stdin.writeln(step.text);
  }

  void _read(String text) {
    final Map<String, Object?> line;
    try {
      line = jsonDecode(text) as Map<String, Object?>;
    } on Object {
      _lastNote = 'not a line of a transcript: $text';
      _process.kill(ProcessSignal.sigkill);
      return;
    }
    _onLine(line);
    switch (line) {
      case {'done': _} when _steps.isNotEmpty:
        _answer().played.complete();
      case {'error': final String error, 'line': final int number} when _steps.isNotEmpty:
        // That of the line before the first step is the phone's.
        final isStep = number == _line;
        final step = _answer();
        step.played.completeError(DeskException(isStep ? '$error: ${step.text}' : error));
    }
  }

  _Step _answer() {
    final step = _steps.removeFirst();
    if (_steps.isNotEmpty) {
      _send();
    }
    return step;
  }

  Future<void> _processEnded() async {
    final code = await _process.exitCode;
    final reason = _ending && code == 0
        ? null
        : DeskException(_lastNote ?? 'nimbrel desk has ended with status $code');
    _ended.complete();
    for (final step in _steps) {
      step.played.completeError(reason ?? const DeskException('The desk was stopped'));
    }
    _steps.clear();
    _onEnd(reason);
  }
}

class _Step {
  _Step(this.text, this.onSend);

  final String text;
  final void Function()? onSend;
  final played = Completer<void>();
}
