/// A test runner of a page: no package is at hand here that brings one.
library;

import 'dart:async';
import 'dart:io';

final _tests = <(String, FutureOr<void> Function())>[];

/// Adds a test; its name is a claim.
void test(String claim, FutureOr<void> Function() body) => _tests.add((claim, body));

/// Throws where the two differ. Collections and maps are compared by what they hold.
void expect(Object? actual, Object? expected, [String? what]) {
  if (!_same(actual, expected)) {
    throw TestFailure('${what == null ? '' : '$what: '}expected $expected, got $actual');
  }
}

/// Throws where [body] does not end in an error of type [T]; returns the error.
Future<T> expectThrows<T extends Object>(FutureOr<Object?> Function() body) async {
  try {
    await body();
  } on T catch (error) {
    return error;
  }
  throw TestFailure('expected a $T, got none');
}

class TestFailure implements Exception {
  TestFailure(this.message);

  final String message;

  @override
  String toString() => message;
}

/// Runs all tests that were added, one after the other, and exits with 1 where one has failed. An
/// error that no code of the test waits for fails the test, too.
Future<Never> runTests() async {
  var failed = 0;
  for (final (claim, body) in _tests) {
    if (await _failure(body) case (final error, final trace)?) {
      failed += 1;
      stdout.writeln('FAILED: $claim\n$error\n$trace');
    }
  }
  stdout.writeln('${_tests.length - failed} passed, $failed failed');
  await stdout.flush();
  exit(failed == 0 ? 0 : 1);
}

Future<(Object, StackTrace)?> _failure(FutureOr<void> Function() body) async {
  final outcome = Completer<(Object, StackTrace)?>();
  void end((Object, StackTrace)? failure) {
    if (!outcome.isCompleted) {
      outcome.complete(failure);
    }
  }

  runZonedGuarded(() async {
    await body();
    end(null);
  }, (error, trace) => end((error, trace)));
  // A hang would never end the run: this says which test it is.
  final limit = Timer(const Duration(minutes: 15), () => end(('hangs', StackTrace.empty)));
  final failure = await outcome.future;
  limit.cancel();
  return failure;
}

bool _same(Object? one, Object? other) => switch ((one, other)) {
  (final Iterable<Object?> one, final Iterable<Object?> other) =>
    one.length == other.length &&
        one.indexed.every((each) => _same(each.$2, other.elementAt(each.$1))),
  (final Map<Object?, Object?> one, final Map<Object?, Object?> other) =>
    one.length == other.length &&
        one.keys.every((key) => other.containsKey(key) && _same(one[key], other[key])),
  _ => one == other,
};
