#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "host/air/InputError.hpp"
#include "host/cli/Bundled.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/Output.hpp"
#include "host/cli/Scenario.hpp"
#include "host/cli/Simulation.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kHelp = R"(nimbrel simulate: play an application, a phone and the air

usage: nimbrel simulate [SCENARIO]

Plays SCENARIO in virtual time and prints its transcript: what the plug-in logs, what it asks of
the phone, what it replies and the detection events that it sends. Both are JSON Lines. With '-'
the scenario is read from the standard input; with none, the one that comes with the program is
played.

examples:
  nimbrel simulate
  nimbrel simulate lobby.jsonl > lobby.transcript.jsonl
  echo '{"call": "checkPermissionStatus"}' | nimbrel simulate -
  nimbrel simulate lobby.jsonl | jq -c 'select(.event) | .event.identifier'
)";

std::string readAll(std::istream& input) {
  return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

std::string readFile(const std::string& path) {
  if (std::error_code error; std::filesystem::is_directory(path, error)) {
    throw InputError(path, "is a directory; name a scenario, a file of JSON Lines");
  }
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) {
    text = readAll(file);
  }
  if (!file || file.bad()) {
    throw InputError(
        path, std::string(std::strerror(errno)) + "; name a scenario that exists and may be read");
  }
  return text;
}

}  // namespace

int simulateCommand(int count, char** arguments) {
  const option options[] = {{"help", no_argument, nullptr, 'h'}, {nullptr, 0, nullptr, 0}};
  opterr = 0;
  for (int found = 0; (found = getopt_long(count, arguments, ":h", options, nullptr)) != -1;) {
    if (found == 'h') {
      std::cout << kHelp << std::flush;
      return 0;
    }
    throw UsageError("unknown option " + std::string(arguments[optind - 1]) +
                     "; see nimbrel simulate --help");
  }
  if (count - optind > 1) {
    throw UsageError("more than one scenario given; simulate plays one at a time");
  }

  Scenario scenario;
  if (optind == count) {
    scenario = Scenario::parse(bundledScenario(), "the bundled scenario");
  } else {
    const std::string path = arguments[optind];
    const std::string text = path == "-" ? readAll(std::cin) : readFile(path);
    try {
      scenario = Scenario::parse(text, path);
    } catch (const InputError& error) {
      // "FILE:LINE: what is wrong" and nothing before it, so that editors jump to the line.
      std::cerr << error.what() << '\n';
      return 2;
    }
  }
  Output output(STDOUT_FILENO);
  playScenario(scenario, output);
  output.flush();
  return 0;
}

}  // namespace nimbrel
