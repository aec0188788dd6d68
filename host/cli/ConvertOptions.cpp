#include "host/cli/ConvertOptions.hpp"

#include <iostream>
#include <string_view>
#include <vector>

#include "host/air/AddressText.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel convert: a capture to a scenario, a scenario to a capture, or a part of either

usage: nimbrel convert IN OUT [options]

IN is what nimbrel scan takes, or a scenario; its content tells which. OUT is a scenario where its
name ends in .jsonl, and a btsnoop capture where it ends in .btsnoop. '-' is the standard input, or
a scenario on the standard output.
)";

constexpr std::string_view kNotes = R"(
A scenario of a capture has a step for each advertisement, with its data as it was on the air. With
--filter or --generic it has an application, too: nimbrel simulate of it then gives the events that
nimbrel scan of the capture gives with the same options. A capture has the advertisements alone.

With --anonymize, addresses become random ones (one for each device, of the same type) and names
"Device 1" and so on (beacon, estimote, kontakt or gimbal stays). Of manufacturer data, beacon
frames stay, and the company of others; the rest becomes zeros, which end in a number where a
device's data changes. Beacons keep their UUID, major and minor, and everything its time and signal.

examples:
  nimbrel convert walk.btsnoop walk.jsonl --generic
  nimbrel convert walk.btsnoop lobby.jsonl --filter 7B4F9A60-3C1D-4E0A-9F52-6D1E2A8C0B41/1=Lobby
  nimbrel convert walk.btsnoop - --from 60 --for 10 | head
  nimbrel convert lobby.jsonl lobby.btsnoop
  nimbrel convert bugreport.zip for-a-bug-report.btsnoop --anonymize
)";

struct GivenParts {
  std::vector<std::string> files;
  std::optional<MainQueue::Time> from;
};

void addAll(CommandLine& line, ConvertOptions& options, GivenParts& given) {
  line.addArguments("file", 2, [&given](const std::string& file) { given.files.push_back(file); });
  addFilters(line, options.filters);
  line.addFlag("--generic", "a scenario whose application detects in generic mode",
               options.isGeneric);
  addPhone(line, options.withholdsBeacons);
  line.addOption("--device", "ADDRESS", "only the device of that address; may be repeated",
                 [&options](const std::string& value) {
                   const auto address = parseAddress(value);
                   if (!address.has_value()) {
                     throw UsageError("--device '" + value +
                                      "' is no address; give one such as C6:55:44:33:22:11");
                   }
                   options.part.devices.insert(*address);
                 });
  addSeconds(line, "--from", "leave out what is before that time since the start", given.from);
  addSeconds(line, "--for", "only so much time, from --from on", options.part.duration);
  line.addFlag("--anonymize", "make devices unrecognisable (see below)", options.part.isAnonymous);
  line.addFlag("--force", "replace OUT where it is there already", options.force);
}

void takeFiles(const std::vector<std::string>& files, ConvertOptions& options) {
  if (files.size() != 2) {
    throw UsageError(std::string(files.empty() ? "IN and OUT are" : "OUT is") +
                     " missing; give for example nimbrel convert walk.btsnoop walk.jsonl");
  }
  options.input = files[0];
  options.output = files[1];
  options.writesScenario = options.output == "-" || options.output.ends_with(".jsonl");
  if (!options.writesScenario && !options.output.ends_with(".btsnoop")) {
    throw UsageError("OUT '" + options.output +
                     "' is neither a scenario nor a capture by its name; give one that ends in "
                     ".jsonl or .btsnoop, or '-'");
  }
}

/// Refuses options that do not go together.
void checkTogether(const ConvertOptions& options) {
  const bool hasApplication = options.isGeneric || !options.filters.empty();
  if (options.isGeneric && !options.filters.empty()) {
    throw UsageError("--generic and --filter exclude each other; leave one of them out");
  }
  if (!options.writesScenario && (hasApplication || options.withholdsBeacons)) {
    throw UsageError(std::string(options.isGeneric          ? "--generic"
                                 : !options.filters.empty() ? "--filter"
                                                            : "--phone") +
                     " is for a scenario, and a capture has no application and no phone; leave it "
                     "out, or name OUT .jsonl");
  }
}

}  // namespace

std::optional<ConvertOptions> ConvertOptions::parse(int count, const char* const* arguments) {
  ConvertOptions options;
  GivenParts given;
  CommandLine line("convert", kIntroduction, kNotes);
  addAll(line, options, given);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return std::nullopt;
  }
  takeFiles(given.files, options);
  options.part.from = given.from.value_or(MainQueue::Time::zero());
  checkTogether(options);
  return options;
}

}  // namespace nimbrel
