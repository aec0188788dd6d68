#include "host/cli/ScanOptions.hpp"

#include <iostream>
#include <string_view>

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel scan: detect beacons in a Bluetooth capture, or live

usage: nimbrel scan [CAPTURE ...] [options]
       nimbrel scan --live [options]

CAPTURE is a btsnoop, Apple PacketLogger, pcap or pcapng file, an Android bug report, an archive or
a compressed file with such a recording in it, or '-' for the standard input; several are played as
one, in the order of their times; with none, the recording that comes with the program is scanned.
--live scans with a Bluetooth adapter of this machine, which BlueZ has to run. Without --filter every
advertising device is looked at (generic mode); with one or more, the iBeacons that match are ranged
(filter mode).
)";

constexpr std::string_view kNotes = R"(
Diagnostic lines go to the standard output as on the phone, with --json to the standard error;
with --table there are none.

examples:
  nimbrel scan
  nimbrel scan walk.btsnoop --filter 7B4F9A60-3C1D-4E0A-9F52-6D1E2A8C0B41/1=Lobby
  nimbrel scan walk.btsnoop --json --quiet | jq -r .uuid | sort | uniq -c
  nimbrel scan walk.btsnoop --speed 1 --for 30
  nimbrel scan bugreport.zip --table
  nimbrel scan btsnoop_hci.log.last btsnoop_hci.log
  nimbrel scan --live --table
  nimbrel scan --live --quiet --record today.btsnoop
)";

void addAll(CommandLine& line, ScanOptions& options) {
  addFilters(line, options.filters);
  line.addFlag("--json", "one detection event a line on the standard output, all eleven keys",
               options.json);
  line.addFlag("--table",
               "one row for each beacon, nearest first: redrawn in place with --live or --speed\n"
               "on a terminal, and printed at the end",
               options.table);
  line.addFlag("--quiet", "no diagnostic lines", options.quiet);
  options.addTo(line);
}

/// Refuses options that do not go together.
void refuseTogether(const ScanOptions& options) {
  options.checkTogether();
  if (options.table && options.json) {
    throw UsageError("--table and --json exclude each other; leave one of them out");
  }
}

}  // namespace

std::optional<ScanOptions> ScanOptions::parse(int count, const char* const* arguments) {
  ScanOptions options;
  CommandLine line("scan", kIntroduction, kNotes);
  addAll(line, options);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return std::nullopt;
  }
  refuseTogether(options);
  return options;
}

}  // namespace nimbrel
