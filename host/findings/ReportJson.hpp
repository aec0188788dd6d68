#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/base/WallClock.hpp"
#include "host/findings/Findings.hpp"
#include "host/findings/Lanes.hpp"
#include "host/findings/Series.hpp"

namespace nimbrel {

/// What a report tells of: a run, the signals and the states in it, and where they came from.
struct Report {
  struct Jump {
    MainQueue::Time at;  // by the run's time
    ClockJump clock;
  };

  const Findings& findings;
  Series& series;
  const Lanes& lanes;
  /// "recording", "scenario" or "live".
  std::string_view kind;
  /// The recordings' or the scenario's names.
  std::vector<std::string> files;
  /// The command line that makes the report again.
  std::string command;
  /// The wall clock at the start of the run.
  std::chrono::microseconds begin;
  WallClock clock;
  std::vector<Jump> jumps;
  std::uint64_t damagedPackets = 0;
};

/// Appends the report as one JSON object, with a newline. The head of
/// host/findings/page/report.js describes it. The devices that matter most come first, and those
/// beyond a thousand are counts; the series are summed up until they fit.
void appendReportJson(std::string& out, const Report& report);

}  // namespace nimbrel
