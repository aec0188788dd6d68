import 'dart:collection';
import 'dart:convert';
import 'dart:io';

import 'desk_exception.dart';

/// A step of a scenario file: what happens, and when.
class ScenarioStep {
  ScenarioStep({required this.at, required this.action, required this.place});

  /// Since the start.
  final Duration at;

  /// The step without its time.
  final Map<String, Object?> action;

  /// `FILE:LINE`, for errors.
  final String place;
}

/// A scenario file, but for its application: that one is the Dart code.
class Scenario {
  Scenario._(this.phone, this.steps);

  /// Reads what tells the time; the rest is for `nimbrel desk` to judge.
  ///
  /// Throws a [DeskException] that names file and line if that cannot be read.
  static Future<Scenario> read(String path) async {
    final List<String> lines;
    try {
      lines = const LineSplitter().convert(await File(path).readAsString());
    } on FileSystemException catch (error) {
      throw DeskException('$path: ${error.osError?.message ?? error.message}');
    }
    Map<String, Object?>? phone;
    final steps = Queue<ScenarioStep>();
    var time = Duration.zero;
    for (final (index, line) in lines.indexed) {
      if (line.trim().isEmpty || line.startsWith('#')) {
        continue;
      }
      final place = '$path:${index + 1}';
      final object = _objectOf(line, place);
      if (phone == null && steps.isEmpty && object.containsKey('phone')) {
        phone = object;
        continue;
      }
      final at = _timeOf(object, time, place);
      if (at < time) {
        throw DeskException('$place: time runs backwards');
      }
      time = at;
      steps.add(ScenarioStep(at: at, action: _actionOf(object), place: place));
    }
    return Scenario._(phone, steps);
  }

  /// The line that sets up the phone; null: none.
  final Map<String, Object?>? phone;

  /// Those that are not played yet, in the order of their times.
  final Queue<ScenarioStep> steps;

  static Map<String, Object?> _objectOf(String line, String place) {
    try {
      if (jsonDecode(line) case final Map<String, Object?> object) {
        return object;
      }
    } on FormatException catch (error) {
      throw DeskException('$place: ${error.message}');
    }
    throw DeskException('$place: not a JSON object');
  }

  static Duration _timeOf(Map<String, Object?> object, Duration last, String place) =>
      switch ((object['at'], object['after'])) {
        (null, null) => last,
        (final num at, null) => _seconds(at),
        (null, final num after) => last + _seconds(after),
        _ => throw DeskException('$place: "at" or "after" is a number of seconds'),
      };

  static Duration _seconds(num seconds) => Duration(microseconds: (seconds * 1e6).round());

  static Map<String, Object?> _actionOf(Map<String, Object?> object) =>
      object.containsKey('call') || object.containsKey('listen')
          ? {'wait': true}
          : {...object}
        ..remove('at')
        ..remove('after');
}
