#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include "host/air/Capture.hpp"
#include "host/air/InputError.hpp"
#include "host/cli/Bundled.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/Interrupt.hpp"
#include "host/cli/LiveScan.hpp"
#include "host/cli/Output.hpp"
#include "host/cli/Progress.hpp"
#include "host/cli/Replay.hpp"
#include "host/cli/ScanOptions.hpp"
#include "host/cli/ScanSession.hpp"

namespace nimbrel {

namespace {

int scanLive(const ScanOptions& options) {
  Output errors(STDERR_FILENO);
  Output output(STDOUT_FILENO);
  MainQueue queue(1.0);
  const Interrupt interrupt(queue);
  queue.beforeSleeping([&output, &errors] {
    output.flush();
    errors.flush();
  });
  LiveScan(options, queue, output, errors).run();
  return 0;
}

int scanCapture(const ScanOptions& options) {
  Output errors(STDERR_FILENO);
  Progress progress(errors, !options.table);
  Output output(STDOUT_FILENO, [&progress] { progress.clear(); });
  const std::string name = options.capture.value_or("the bundled recording");
  const auto warn = [&](const std::string& warning) {
    progress.clear();
    errors.writeLine("nimbrel: " + warning);
    errors.flush();
  };
  const auto capture = options.capture.has_value() ? Capture::open(name, warn)
                                                   : Capture::read(bundledRecording(), name, warn);
  const Advertisement* first = capture->next();
  if (first == nullptr) {
    throw InputError(name, "holds no Bluetooth LE advertisement; record while a scan runs");
  }

  MainQueue queue(options.speed);
  const Interrupt interrupt(queue);
  queue.beforeSleeping([&output, &errors] {
    output.flush();
    errors.flush();
  });
  ScanSession session(options, queue, CBManagerState::poweredOn, output, errors);
  Replay(options, *capture, *first, queue, session, progress).run();
  progress.clear();
  session.summarize();
  return 0;
}

}  // namespace

int scanCommand(int count, char** arguments) {
  const ScanOptions options = ScanOptions::parse(count, arguments);
  if (options.help) {
    std::cout << ScanOptions::helpText() << std::flush;
    return 0;
  }
  return options.live ? scanLive(options) : scanCapture(options);
}

}  // namespace nimbrel
