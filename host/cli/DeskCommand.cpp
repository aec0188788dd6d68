#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/base/Output.hpp"
#include "host/bluez/BluezAdapter.hpp"
#include "host/cli/CommandLine.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/LiveScan.hpp"
#include "host/cli/SharedOptions.hpp"
#include "host/scenario/Desk.hpp"
#include "host/scenario/RecordedAir.hpp"

namespace nimbrel {

namespace {

constexpr std::string_view kIntroduction =
    R"(nimbrel desk: play the steps of a scenario as they come

usage: nimbrel desk [CAPTURE] [options] < STEPS
       nimbrel desk --live [options] < STEPS

Reads a scenario's lines from the standard input (nimbrel simulate --help has them), plays each
before it reads the next, and writes the transcript as things happen. An application's test starts
it as a child process and talks to it.

The first line may set up the phone. After each step comes {"at": T, "done": N}, N being the number
of its line. A line that cannot be played changes nothing; the answer is {"at": T, "error": TEXT,
"line": N}. The end of the input ends the desk.

Without --speed and --live time is virtual: it stands still between steps and passes at a step's
"at" or "after". Otherwise it passes by itself from the first step on, and a step without a time is
played when it arrives.

With CAPTURE the phone hears that recording, whose first record lies at second 0, under the
recording's clock unless the phone's line sets one; {"at": T, "air": "ended"} says that it is over.
With --live the phone hears what an adapter of this machine hears.
)";

constexpr std::string_view kNotes = R"(
examples:
  nimbrel desk < lobby.jsonl
  echo '{"call": "checkPermissionStatus"}' | nimbrel desk
  nimbrel desk walk.btsnoop --speed 1
)";

void warn(const std::string& line) { std::cerr << "nimbrel: " << line << std::endl; }

/// What an adapter of this machine hears.
class LiveAir final : public DeskAir, public AdapterObserver {
 public:
  /// `adapter` is the adapter's name; absent for the first one.
  explicit LiveAir(std::optional<std::string> adapter) : name_(std::move(adapter)) {}

  void attach(Stage& stage, Transcript& /*transcript*/, bool setsClock) override {
    stage_ = &stage;
    setsClock_ = setsClock;
    setClock();
  }

  void begin() override { adapter_.emplace(name_, stage_->queue(), *this); }

 private:
  void listening() override {
    warn(adapter_->name() + ": listening; the end of the input ends the desk");
  }
  void heard(const Advertisement& advertisement) override {
    setClock();
    stage_->hear(advertisement);
  }
  void changed(CBManagerState state) override { stage_->phone().bluetooth().changeState(state); }
  void noted(const std::string& line) override { warn(line); }

  void setClock() {
    if (setsClock_) {
      stage_->phone().setClock(LiveScan::readMachineClock() - stage_->queue().lag());
    }
  }

  std::optional<std::string> name_;
  Stage* stage_ = nullptr;
  bool setsClock_ = false;
  std::optional<BluezAdapter> adapter_;
};

}  // namespace

int deskCommand(int count, const char* const* arguments) {
  AirOptions options;
  CommandLine line("desk", kIntroduction, kNotes);
  options.addTo(line);
  if (!line.parse(count, arguments)) {
    std::cout << line.help() << std::flush;
    return 0;
  }
  options.checkTogether();
  const bool hasCapture = !options.captures.empty();
  if (hasCapture && options.captures.front() == "-") {
    throw UsageError("the standard input has the steps; name a capture that is a file");
  }

  std::unique_ptr<DeskAir> air;
  if (options.live) {
    air = std::make_unique<LiveAir>(options.adapter);
  } else if (hasCapture) {
    air = std::make_unique<RecordedAir>(options.captures.front(), warn);
  }
  Output output(STDOUT_FILENO);
  Desk(options.live ? 1.0 : options.speed, std::move(air), output).run(STDIN_FILENO);
  return 0;
}

}  // namespace nimbrel
