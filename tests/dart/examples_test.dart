import 'dart:convert';
import 'dart:io';

import 'harness.dart';

final _root = Platform.script.resolve('../../').toFilePath();

/// Runs the examples of the documentation, and the program of the folder `example`.
void examplesTests() {
  for (final file in _documented()) {
    for (final (index, example) in _examplesIn(file.readAsStringSync()).indexed) {
      test('example ${index + 1} of ${file.path.substring(_root.length)} runs', () async {
        final folder = await Directory.systemTemp.createTemp('nimbrel');
        try {
          final program = File('${folder.path}/main.dart');
          await program.writeAsString(_programOf(example));
          // An application on the desktop takes a recording, and how fast it plays it.
          final output = await _run(program.path, ['${_root}example/walk.btsnoop', '500']);
          for (final said in RegExp(r'print\(.*\); // (.*)').allMatches(example)) {
            final text = said[1]!.split(':').first;
            expect(output.any((line) => line == text), true, '$text in $output');
          }
        } finally {
          await folder.delete(recursive: true);
        }
      });
    }
  }

  test('the guide leads through the gallery', () async {
    expect(await _run('${_root}example/main.dart', []), [
      '10:00:23  Welcome to the entrance.',
      '10:00:50  Welcome to the first gallery.',
      '10:01:25  Welcome to the café.',
    ]);
  });
}

Iterable<File> _documented() => [
  ...Directory('${_root}lib').listSync(recursive: true).whereType<File>(),
  File('${_root}README.md'),
];

/// The blocks of Dart in a text or in its comments.
Iterable<String> _examplesIn(String text) {
  final block = RegExp(r'^(/// )?```dart\n(.*?)^\1?```$', multiLine: true, dotAll: true);
  final comment = RegExp(r'^/// ?', multiLine: true);
  return block.allMatches(text).map((found) => found[2]!.replaceAll(comment, ''));
}

/// A whole program: an example that is none runs with a desk for a phone.
String _programOf(String example) {
  if (example.contains("import 'package:nimbrel/desk.dart'")) {
    return example;
  }
  final imports = example.startsWith('import') ? '' : "import 'package:nimbrel/nimbrel.dart';";
  final application =
      example.contains(' main(')
          ? example.replaceFirst(' main(', ' application(')
          : 'Future<void> application() async {\n$example}';
  return '''
import 'package:nimbrel/desk.dart';
$imports
$application

Future<void> main() async {
  final phone = await Desk.start();
  NimbrelPlatform.instance = phone;
  await application();
  await phone.stop();
}
''';
}

/// The lines that a program prints. It must end well.
Future<List<String>> _run(String program, List<String> arguments) async {
  final run = await Process.run(Platform.resolvedExecutable, [
    '--enable-asserts',
    '--packages=${_root}tests/dart/packages.json',
    program,
    ...arguments,
  ], stdoutEncoding: utf8);
  expect((run.exitCode, run.stderr), (0, ''), program);
  return const LineSplitter().convert(run.stdout as String);
}
