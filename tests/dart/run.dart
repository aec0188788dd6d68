/// Runs all tests of the Dart side: `./dev test-dart`.
library;

import 'desk_test.dart';
import 'examples_test.dart';
import 'harness.dart';
import 'nimbrel_test.dart';
import 'values_test.dart';

Future<void> main() {
  valuesTests();
  nimbrelTests();
  deskTests();
  examplesTests();
  return runTests();
}
