#include "host/cli/ExplainOptions.hpp"

#include <iostream>
#include <string_view>

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel explain: say of every device what became of its advertisements, and why

usage: nimbrel explain [CAPTURE ...] [options]
       nimbrel explain --live [options]

Runs the plug-in as nimbrel scan does with the same options, and says in the end, for every device
that was heard, what became of its advertisements and what to change where it was not detected.
CAPTURE is what nimbrel scan takes; with none, the recording that comes with the program is
explained.
)";

constexpr std::string_view kNotes = R"(
Every advertisement has one fate. Without a filter: event (it led to a detection), notAdmitted
(neither manufacturer data nor a word in the name that says beacon), thinned (less than 2 s after
the device's last one, and less than 3 dB away), coalesced (a repeat within a second). With filters:
ranged (heard, and a filter accepts it), refused (no filter accepts its major and minor), otherUuid
(no filter asks for its UUID), noIBeacon (no iBeacon frame). In both: withheld (the phone keeps it
from this mode), deaf (nothing was listening).

examples:
  nimbrel explain walk.btsnoop
  nimbrel explain walk.btsnoop --filter 7B4F9A60-3C1D-4E0A-9F52-6D1E2A8C0B41/1
  nimbrel explain walk.btsnoop --device C6:55:44:33:22:11
  nimbrel explain walk.btsnoop --json | jq -r 'select(.events == 0) | .why[]'
  nimbrel explain --live --for 30
)";

void addAll(CommandLine& line, ExplainOptions& options) {
  addFilters(line, options.filters);
  line.addOption("--device", "ADDRESS|UUID|NAME",
                 "the whole story of the devices of that address, beacon's UUID or name",
                 options.device);
  line.addFlag("--all", "every device in full; left out: at most a screenful", options.all);
  line.addFlag("--json", "one device a line on the standard output, then one line for the run",
               options.json);
  line.addFlag("--quiet", "no line on the standard error but errors and warnings", options.quiet);
  options.addTo(line);
}

}  // namespace

std::optional<ExplainOptions> ExplainOptions::parse(int count, const char* const* arguments) {
  ExplainOptions options;
  CommandLine line("explain", kIntroduction, kNotes);
  addAll(line, options);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return std::nullopt;
  }
  options.checkTogether();
  return options;
}

}  // namespace nimbrel
