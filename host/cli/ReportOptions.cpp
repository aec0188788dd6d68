#include "host/cli/ReportOptions.hpp"

#include <iostream>
#include <string_view>

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel report: write a page to look at: signal, distance and events over time

usage: nimbrel report [CAPTURE ...] -o PAGE.html [options]
       nimbrel report --live -o PAGE.html [options]
       nimbrel report [CAPTURE ...] --json [options]

Runs the plug-in as nimbrel scan does with the same options, and writes one file that opens in any
browser, without a network: what was in the air, what the application heard of it, and why not the
rest. CAPTURE is what nimbrel scan takes, or a scenario (a name that ends in .jsonl), which is played
as nimbrel simulate does; with none, it is the recording that comes with the program.
)";

constexpr std::string_view kNotes = R"(
PAGE.html is written beside its place and renamed, so that it is whole or not there. The page has
plots of the signal strength and of the distance, lanes for regions, Bluetooth and the permission,
and a table of all devices with what nimbrel explain says of them. It loads nothing.

examples:
  nimbrel report -o walk.html
  nimbrel report walk.btsnoop -o walk.html --filter 7B4F9A60-3C1D-4E0A-9F52-6D1E2A8C0B41/1=Lobby
  nimbrel report lobby.jsonl -o lobby.html
  nimbrel report --live --for 60 -o now.html
  nimbrel report walk.btsnoop --json | jq .headline
)";

void addAll(CommandLine& line, ReportOptions& options, std::optional<std::string>& page) {
  addFilters(line, options.filters);
  line.addOption("-o,--output", "PAGE.html", "the file to write; - is the standard output", page);
  line.addFlag("--json", "the page's data alone, as one JSON object", options.json);
  line.addFlag("--quiet", "no line on the standard error but errors and warnings", options.quiet);
  options.addTo(line, "-o or --record");
}

}  // namespace

std::optional<ReportOptions> ReportOptions::parse(int count, const char* const* arguments) {
  ReportOptions options;
  std::optional<std::string> page;
  CommandLine line("report", kIntroduction, kNotes);
  addAll(line, options, page);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return std::nullopt;
  }
  if (!page.has_value() && !options.json) {
    throw UsageError(
        "no file to write the page to; give -o PAGE.html, or -o - for the standard output");
  }
  options.page = page.value_or("-");
  options.checkTogether(options.page != "-");
  if (options.isScenario() && (!options.filters.empty() || options.duration.has_value() ||
                               options.speed.has_value() || options.withholdsBeacons)) {
    throw UsageError(
        "a scenario has an application, a phone and a length of its own; leave --filter, --for, "
        "--speed and --phone out");
  }
  return options;
}

bool ReportOptions::isScenario() const {
  return captures.size() == 1 && captures.front().ends_with(".jsonl");
}

std::string ReportOptions::command() const {
  return "nimbrel report" + sameArguments() + (utc ? " --utc" : "") + " -o " +
         (page == "-" ? "PAGE.html" : page);
}

}  // namespace nimbrel
