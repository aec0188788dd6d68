#include "host/cli/ScanOptions.hpp"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>

#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/cli/Commands.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kHelp = R"(nimbrel scan: detect beacons in a Bluetooth capture, or live

usage: nimbrel scan [CAPTURE] [options]
       nimbrel scan --live [options]

CAPTURE is a btsnoop, Apple PacketLogger, pcap or pcapng file; with none, the recording that comes
with the program is scanned. --live scans with a Bluetooth adapter of this machine, which BlueZ has
to run. Without --filter every advertising device is looked at (generic mode); with one or more, the
iBeacons that match are ranged (filter mode).

  --filter UUID[/MAJOR[/MINOR]][=LABEL]
                    filter mode; may be repeated; an empty MAJOR means any (UUID//7)
  --json            one detection event a line on the standard output, all eleven keys
  --table           one row for each beacon, nearest first: redrawn in place with --live or --speed
                    on a terminal, and printed at the end
  --quiet           no diagnostic lines
  --speed X         replay at X times the recorded speed; left out: as fast as the machine can
  --for SECONDS     stop after that much recorded time or, with --live, real time
  --adapter NAME    with --live: the adapter, such as hci1; left out: the first one
  --record FILE     with --live: write what is heard to a btsnoop file, to be scanned later
  --force           with --record: replace FILE where it is there already
  --help            this text

Diagnostic lines go to the standard output as on the phone, with --json to the standard error;
with --table there are none.

examples:
  nimbrel scan
  nimbrel scan walk.btsnoop --filter 7B4F9A60-3C1D-4E0A-9F52-6D1E2A8C0B41/1=Lobby
  nimbrel scan walk.btsnoop --json --quiet | jq -r .uuid | sort | uniq -c
  nimbrel scan walk.btsnoop --speed 1 --for 30
  nimbrel scan --live --table
  nimbrel scan --live --quiet --record today.btsnoop
)";

UsageError badFilter(std::string_view argument, std::string_view problem) {
  return UsageError("--filter '" + std::string(argument) + "': " + std::string(problem) +
                    "; give UUID[/MAJOR[/MINOR]][=LABEL]");
}

/// A major or a minor, or absent for any.
std::optional<std::int64_t> filterNumber(std::string_view text, std::string_view argument) {
  if (text.empty()) {
    return std::nullopt;
  }
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) {
    throw badFilter(argument, "'" + std::string(text) + "' is not a number from 0 to 65535");
  }
  return number;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    if (!character.valid) {
      return false;
    }
    text.remove_prefix(character.size);
  }
  return true;
}

/// What stands before the first `separator`; `rest` becomes what stands behind it.
std::string_view cut(std::string_view& rest, char separator) {
  const std::string_view head = rest.substr(0, rest.find(separator));
  rest.remove_prefix(std::min(rest.size(), head.size() + 1));
  return head;
}

EncodableValue parseFilter(std::string_view argument) {
  std::string_view label = argument;
  std::string_view numbers = cut(label, '=');
  const bool hasLabel = argument.find('=') != std::string_view::npos;
  const std::string_view uuid = cut(numbers, '/');
  if (!parseUuid(uuid).has_value()) {
    throw badFilter(argument,
                    "'" + std::string(uuid) + "' is not a UUID (8-4-4-4-12 hexadecimal digits)");
  }
  EncodableMap filter;
  filter.push_back({"uuid", uuid});
  if (const auto major = filterNumber(cut(numbers, '/'), argument)) {
    filter.push_back({"majorId", *major});
  }
  if (const auto minor = filterNumber(numbers, argument)) {
    filter.push_back({"minorId", *minor});
  }
  if (hasLabel) {
    if (!isUtf8(label)) {
      throw badFilter(argument, "the label is not UTF-8");
    }
    filter.push_back({"identifier", label});
  }
  return filter;
}

double positiveNumber(std::string_view text, std::string_view name, double most) {
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || !(number > 0.0) ||
      number > most) {
    throw UsageError(std::string(name) + " '" + std::string(text) +
                     "' is not a number above 0; give for example " + std::string(name) + " 10");
  }
  return number;
}

enum Option : int {
  filterOption = 1,
  jsonOption,
  tableOption,
  quietOption,
  speedOption,
  forOption,
  liveOption,
  adapterOption,
  recordOption,
  forceOption
};

/// Refuses options that do not go together.
void checkTogether(const ScanOptions& options) {
  if (options.live && options.capture.has_value()) {
    throw UsageError("--live and a capture exclude each other; leave one of them out");
  }
  if (options.live && options.speed.has_value()) {
    throw UsageError("--speed is for a replay; leave it out, or --live");
  }
  if (!options.live && options.adapter.has_value()) {
    throw UsageError("--adapter is for a live scan; give --live, too");
  }
  if (!options.live && options.recording.has_value()) {
    throw UsageError("--record is for a live scan; give --live, too");
  }
  if (options.force && !options.recording.has_value()) {
    throw UsageError("--force is about the file of a recording; give --record FILE, too");
  }
  if (options.table && options.json) {
    throw UsageError("--table and --json exclude each other; leave one of them out");
  }
}

}  // namespace

std::string_view ScanOptions::helpText() { return kHelp; }

ScanOptions ScanOptions::parse(int count, char** arguments) {
  const option known[] = {{"filter", required_argument, nullptr, filterOption},
                          {"json", no_argument, nullptr, jsonOption},
                          {"table", no_argument, nullptr, tableOption},
                          {"quiet", no_argument, nullptr, quietOption},
                          {"speed", required_argument, nullptr, speedOption},
                          {"for", required_argument, nullptr, forOption},
                          {"live", no_argument, nullptr, liveOption},
                          {"adapter", required_argument, nullptr, adapterOption},
                          {"record", required_argument, nullptr, recordOption},
                          {"force", no_argument, nullptr, forceOption},
                          {"help", no_argument, nullptr, 'h'},
                          {nullptr, 0, nullptr, 0}};
  ScanOptions options;
  opterr = 0;
  for (int found = 0; (found = getopt_long(count, arguments, ":h", known, nullptr)) != -1;) {
    switch (found) {
      case filterOption:
        options.filters.push_back(parseFilter(optarg));
        break;
      case jsonOption:
        options.json = true;
        break;
      case tableOption:
        options.table = true;
        break;
      case quietOption:
        options.quiet = true;
        break;
      case speedOption:
        options.speed = positiveNumber(optarg, "--speed", 1e9);
        break;
      case forOption:
        options.duration =
            MainQueue::Time(std::llround(positiveNumber(optarg, "--for", 1e9) * 1e6));
        break;
      case liveOption:
        options.live = true;
        break;
      case adapterOption:
        options.adapter = optarg;
        break;
      case recordOption:
        options.recording = optarg;
        break;
      case forceOption:
        options.force = true;
        break;
      case 'h':
        options.help = true;
        return options;
      case ':':
        throw UsageError("the option " + std::string(arguments[optind - 1]) +
                         " lacks its value; see nimbrel scan --help");
      default:
        throw UsageError("unknown option " + std::string(arguments[optind - 1]) +
                         "; see nimbrel scan --help");
    }
  }
  if (count - optind > 1) {
    throw UsageError("more than one capture given; scan reads one at a time");
  }
  if (optind < count) {
    options.capture = arguments[optind];
  }
  checkTogether(options);
  return options;
}

}  // namespace nimbrel
