#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "host/base/InputError.hpp"
#include "host/base/Output.hpp"
#include "host/cli/Bundled.hpp"
#include "host/cli/CommandLine.hpp"
#include "host/cli/Commands.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/Simulation.hpp"
#include "host/scenario/TranscriptDifference.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel simulate: play an application, a phone and the air

usage: nimbrel simulate [SCENARIO] [options]

Plays SCENARIO in virtual time and prints its transcript: what the plug-in logs, what it asks of
the phone, what it replies and the detection events that it sends. Both are JSON Lines. With '-'
the scenario is read from the standard input; with none, the one that comes with the program is
played.
)";

constexpr std::string_view kNotes = R"(
Blank lines and lines that begin with '#' are skipped. Every other line is one JSON object: the
phone, which may be left out, and then the steps.

the phone, in the first object; every key may be left out:
  {"phone": {KEY: VALUE, ...}}
    "systemVersion"       "13", "13.7", "14.0" ...                            (left out: "17.0")
    "authorization"       "notDetermined", "restricted", "denied", "always", "whenInUse", or an
                          integer                                             ("always")
    "classAuthorization"  the same, where the class-level query answers differently
    "prompt"              the user's answer when the system asks for permission, a second later:
                          "always", "whenInUse", "denied" or "ignored"        ("ignored")
    "bluetooth"           "unknown", "resetting", "unsupported", "unauthorized", "poweredOff",
                          "poweredOn", or an integer                          ("poweredOn")
    "clock"               the wall clock at second 0, in seconds since 1970   (1700000000)
    "withholdsBeacons"    true: Bluetooth scans see no iBeacon frame          (false)
    "regionExitDelay"     seconds of silence before a region is left          (30)
    "registered"          false: the plug-in is used without registration     (true)
    "locationManager"     false: the phone has none                           (true)

the time of a step, in seconds; left out: that of the step before, at first 0:
  "at": SECONDS           since the start
  "after": SECONDS        since the step before

steps of the application; each step has exactly one action:
  {"call": METHOD}                     calls the plug-in, without arguments
  {"call": METHOD, "arguments": VALUE}
  {"listen": true}                     listens to the event channel; false: cancels

steps of the user and the phone:
  {"authorization": WORD}              the user changes the permission
  {"bluetooth": WORD}                  the state of Bluetooth changes
  {"clock": SECONDS}                   the wall clock is set, to seconds since 1970
  {"wait": true}                       the time passes, nothing else

steps of the air:
  {"advertise": {"address": "C6:55:44:33:22:11", "addressType": "random", "name": TEXT,
                 "manufacturerData": HEX, "rssi": DBM}}
      a device advertises once; "addressType" ("public" or "random", left out: random), "name" and
      "manufacturerData" may be left out
  {"advertise": {"address": ..., "addressType": ..., "data": HEX, "scanResponse": true, "rssi": DBM}}
      the same with the advertising data as it is on the air; "scanResponse" left out: false
  {"advertise": {...}, "every": SECONDS, "for": SECONDS}
      again and again for that long

steps that make the phone's services call the plug-in, whatever is in the air:
  {"discover": {"identifier": UUID, "name": TEXT, "manufacturerData": HEX, "rssi": DBM}}
      "name" and "manufacturerData" may be left out
  {"range": {"region": ID, "beacons": [{"uuid": UUID, "major": 1, "minor": 2, "rssi": DBM,
             "accuracy": METRES, "proximity": WORD}, ...]}}
      "proximity": "unknown", "immediate", "near", "far", or an integer
  {"enter": ID}, {"exit": ID}          "beacon": false beside it: a region of another kind
  {"fail": "location", "error": TEXT}
  {"fail": "monitoring", "error": TEXT, "region": ID}    "region" may be left out
  {"fail": "ranging", "error": TEXT, "region": ID}

Steps of one instant are played in one turn of the main loop. The transcript's lines have "at" and
one of "log", "request", "reply" (with "call", the number of the call, and "value") and "event".

examples:
  nimbrel simulate
  nimbrel simulate lobby.jsonl > lobby.expected.jsonl
  nimbrel simulate lobby.jsonl --expect lobby.expected.jsonl
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
        path, std::string(std::strerror(errno)) + "; name a file that exists and may be read");
  }
  return text;
}

std::string readText(const std::string& path) {
  return path == "-" ? readAll(std::cin) : readFile(path);
}

/// Plays the scenario and prints how its transcript differs from the one in the file. Returns the
/// exit status.
int compare(const Scenario& scenario, const std::string& file) {
  const std::string expected = readText(file);
  Output transcript(Output::kInMemory);
  playScenario(scenario, transcript);
  const std::string differences = transcriptDifferences(expected, transcript.buffer(), file);
  Output output(STDOUT_FILENO);
  output.buffer().append(differences);
  output.flush();
  return differences.empty() ? 0 : 1;
}

}  // namespace

int simulateCommand(int count, const char* const* arguments) {
  std::optional<std::string> path;
  CommandLine line("simulate", kIntroduction, kNotes);
  std::optional<std::string> expected;
  line.addArgument("scenario", path);
  line.addOption(
      "--expect", "TRANSCRIPT",
      "compare with that transcript, show the first differences instead of the\n"
      "transcript, and exit with status 1 if there are any. Numbers of events that have\n"
      "a point may differ by a hundred-thousandth.",
      expected);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return 0;
  }

  if (path == "-" && expected == "-") {
    throw UsageError("the standard input is either the scenario or --expect; name a file for one");
  }

  Scenario scenario;
  if (!path.has_value()) {
    scenario = Scenario::parse(bundledScenario(), "the bundled scenario");
  } else {
    const std::string text = readText(*path);
    try {
      scenario = Scenario::parse(text, *path);
    } catch (const InputError& error) {
      // "FILE:LINE: what is wrong" and nothing before it, so that editors jump to the line.
      std::cerr << error.what() << '\n';
      return 2;
    }
  }
  if (expected.has_value()) {
    return compare(scenario, *expected);
  }
  Output output(STDOUT_FILENO);
  playScenario(scenario, output);
  output.flush();
  return 0;
}

}  // namespace nimbrel
