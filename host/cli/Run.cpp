#include "host/cli/Run.hpp"

#include <unistd.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/air/Capture.hpp"
#include "host/air/Recordings.hpp"
#include "host/cli/Bundled.hpp"
#include "host/cli/LiveScan.hpp"
#include "host/cli/Replay.hpp"
#include "host/terminal/Interrupt.hpp"
#include "host/terminal/Progress.hpp"

namespace nimbrel {

namespace {

void flushBeforeSleeping(MainQueue& queue, Output& output, Output& errors) {
  queue.beforeSleeping([&output, &errors] {
    output.flush();
    errors.flush();
  });
}

int runLive(const RunOptions& options, const MakeSession& make) {
  Output errors(STDERR_FILENO);
  Output output(STDOUT_FILENO);
  MainQueue queue(1.0);
  const Interrupt interrupt(queue);
  flushBeforeSleeping(queue, output, errors);
  const auto session = make(queue, output, errors);
  return LiveScan(options, queue, *session).run();
}

void runCapture(const RunOptions& options, bool showsProgress, const MakeSession& make) {
  Output errors(STDERR_FILENO);
  Progress progress(errors, showsProgress);
  Output output(STDOUT_FILENO, [&progress] { progress.clear(); });
  const auto warn = [&](const std::string& warning) {
    progress.clear();
    errors.writeLine("nimbrel: " + warning);
    errors.flush();
  };
  std::vector<std::unique_ptr<Capture>> captures;
  for (const std::string& file : options.captures) {
    captures.push_back(Capture::open(file, warn));
  }
  if (captures.empty()) {
    captures.push_back(Capture::read(bundledRecording(), "the bundled recording", warn));
  }
  Recordings recordings(std::move(captures), warn);

  MainQueue queue(options.speed);
  const Interrupt interrupt(queue);
  flushBeforeSleeping(queue, output, errors);
  const auto session = make(queue, output, errors);
  Replay(options.duration, recordings, queue, *session, progress).run();
  progress.clear();
  session->conclude(recordings.damagedPackets());
}

}  // namespace

int run(const RunOptions& options, bool showsProgress, const MakeSession& make) {
  if (options.live) {
    return runLive(options, make);
  }
  runCapture(options, showsProgress, make);
  return 0;
}

}  // namespace nimbrel
