#include "host/cli/SharedOptions.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/findings/Reasons.hpp"

namespace nimbrel {

namespace {

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

/// The 32 digits of a UUID with the hyphens that it lacks; any other text as it is.
std::string hyphenated(std::string_view text) {
  std::string uuid(text);
  if (text.size() == 32) {
    for (const std::size_t place : {20U, 16U, 12U, 8U}) {
      uuid.insert(place, 1, '-');
    }
  }
  return uuid;
}

/// A word for a shell.
std::string quoted(const std::string& word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./=:,+@%";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) {
    return word;
  }
  std::string text = "'";
  for (const char character : word) {
    text += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return text + "'";
}

}  // namespace

EncodableValue parseFilter(const std::string& text) {
  std::string_view label = text;
  std::string_view numbers = cut(label, '=');
  const bool hasLabel = text.find('=') != std::string::npos;
  const std::string_view given = cut(numbers, '/');
  const std::string uuid = hyphenated(given);
  if (!parseUuid(uuid).has_value()) {
    throw badFilter(text, "'" + std::string(given) +
                              "' is not a UUID (8-4-4-4-12 hexadecimal digits, with or without "
                              "the hyphens)");
  }
  EncodableMap filter;
  filter.emplace_back("uuid", uuid);
  if (const auto major = filterNumber(cut(numbers, '/'), text)) {
    filter.emplace_back("majorId", *major);
  }
  if (const auto minor = filterNumber(numbers, text)) {
    filter.emplace_back("minorId", *minor);
  }
  if (hasLabel) {
    if (!isUtf8(label)) {
      throw badFilter(text, "the label is not UTF-8");
    }
    filter.emplace_back("identifier", label);
  }
  return filter;
}

void AirOptions::addTo(CommandLine& line, std::size_t mostCaptures) {
  line.addArguments("capture", mostCaptures,
                    [this](const std::string& file) { captures.push_back(file); });
  line.addFlag("--live", "listen with a Bluetooth adapter of this machine in place of a CAPTURE",
               live);
  line.addOption("--adapter", "NAME",
                 "with --live: the adapter, such as hci1; left out: the first one", adapter);
  line.addOption("--speed", "X",
                 "replay at X times the recorded speed; left out: as fast as the machine can",
                 [this](const std::string& value) { speed = positiveNumber(value, "--speed"); });
}

void AirOptions::checkTogether() const {
  if (live && !captures.empty()) {
    throw UsageError("--live and a capture exclude each other; leave one of them out");
  }
  if (live && speed.has_value()) {
    throw UsageError("--speed is for a replay; leave it out, or --live");
  }
  if (!live && adapter.has_value()) {
    throw UsageError("--adapter is for listening live; give --live, too");
  }
}

void RunOptions::addTo(CommandLine& line, const std::string& written) {
  // As many as a process may have open files.
  constexpr std::size_t kMostCaptures = 1000;
  AirOptions::addTo(line, kMostCaptures);
  addSeconds(line, "--for", "stop after that much recorded time or, with --live, real time",
             duration);
  addPhone(line, withholdsBeacons);
  line.addFlag("--utc", "times in UTC; left out: in the time zone of this machine", utc);
  line.addOption("--record", "FILE",
                 "with --live: write what is heard to a btsnoop file, to be scanned later",
                 recording);
  addForce(line, written, force);
  line.addOption(
      "--record-rotate", "LIMIT",
      "with --record: go on in a new file (today.2.btsnoop after today.btsnoop) at a size\n"
      "such as 100M (k, M, G) or an age such as 24h (s, min, h, d)",
      [this](const std::string& value) { rotation = Rotation::parse(value); });
}

void RunOptions::checkTogether(bool writesFile) const {
  AirOptions::checkTogether();
  if (!live && recording.has_value()) {
    throw UsageError("--record is for listening live; give --live, too");
  }
  if (force && !recording.has_value() && !writesFile) {
    throw UsageError("--force is about the file of a recording; give --record FILE, too");
  }
  if ((rotation.bytes || rotation.age) && !recording.has_value()) {
    throw UsageError("--record-rotate is about the file of a recording; give --record FILE, too");
  }
}

Phone::Setup RunOptions::phone() const {
  Phone::Setup setup;
  setup.withholdsBeacons = withholdsBeacons;
  return setup;
}

std::string RunOptions::sameArguments() const {
  std::string words;
  if (live) {
    words += " --live";
  }
  for (const std::string& capture : captures) {
    words.append(" ").append(quoted(capture));
  }
  if (adapter.has_value()) {
    words.append(" --adapter ").append(quoted(*adapter));
  }
  for (const EncodableValue& filter : filters) {
    words.append(" --filter ").append(quoted(filterText(std::get<EncodableMap>(filter))));
  }
  if (duration.has_value()) {
    std::array<char, 40> digits{};
    const double seconds = std::chrono::duration<double>(*duration).count();
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), seconds).ptr;
    words.append(" --for ").append(digits.data(), end);
  }
  return words + (withholdsBeacons ? " --phone iphone" : "");
}

void addPhone(CommandLine& line, bool& withholdsBeacons) {
  line.addOption("--phone", "iphone",
                 "withhold iBeacon frames from Bluetooth scans, as an iPhone does; left out: the\n"
                 "plug-in is handed everything",
                 [&withholdsBeacons](const std::string& value) {
                   if (value != "iphone") {
                     throw UsageError("--phone '" + value +
                                      "' is no phone that is known; give --phone iphone, or leave "
                                      "it out");
                   }
                   withholdsBeacons = true;
                 });
}

void addFilters(CommandLine& line, EncodableList& filters) {
  line.addOption("--filter", "UUID[/MAJOR[/MINOR]][=LABEL]",
                 "filter mode; may be repeated; an empty MAJOR means any (UUID//7)",
                 [&filters](const std::string& value) { filters.push_back(parseFilter(value)); });
}

void addSeconds(CommandLine& line, const std::string& name, const std::string& help,
                std::optional<MainQueue::Time>& time) {
  line.addOption(name, "SECONDS", help, [name, &time](const std::string& value) {
    time = MainQueue::Time(std::llround(positiveNumber(value, name) * 1e6));
  });
}

void addForce(CommandLine& line, const std::string& owner, bool& force) {
  line.addFlag("--force", "with " + owner + ": replace the file where it is there already", force);
}

}  // namespace nimbrel
