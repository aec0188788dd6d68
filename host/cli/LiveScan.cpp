#include "host/cli/LiveScan.hpp"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace nimbrel {

MainQueue::Time LiveScan::readMachineClock() {
  return std::chrono::duration_cast<MainQueue::Time>(
      std::chrono::system_clock::now().time_since_epoch());
}

LiveScan::LiveScan(const RunOptions& options, MainQueue& queue, Session& session,
                   MachineClock machineClock)
    : options_(options),
      queue_(queue),
      session_(session),
      machineClock_(std::move(machineClock)),
      adapter_(options.adapter, queue, *this) {}

int LiveScan::run() {
  queue_.runUntil(MainQueue::Time::max());
  if (!isListening_) {
    noted("ended before bluetoothd answered; nothing was scanned");
    return 1;
  }
  record([](Recording& recording) { recording.sync(); });
  session_.stop();
  session_.conclude(0);
  return hasRecordingFailed_ ? 1 : 0;
}

void LiveScan::listening() {
  if (options_.recording.has_value()) {
    recording_.emplace(*options_.recording, options_.force, options_.rotation);
    keepOnDisk();
  }
  isListening_ = true;
  session_.inform("nimbrel: " + adapter_.name() + ": listening; Ctrl-C ends the scan");
  origin_ = machineClock_() - queue_.now();
  session_.phone().setClock(origin_ + queue_.now());
  session_.start();
  followClock();
  if (options_.duration.has_value()) {
    // What is due at the end is still a part of the scan.
    queue_.at(queue_.now() + *options_.duration + std::chrono::microseconds(1),
              [this] { queue_.stop(); });
  }
}

void LiveScan::heard(const Advertisement& advertisement) {
  Advertisement received = advertisement;
  received.time = origin_ + queue_.now();
  record([&received](Recording& recording) { recording.write(received); });
  session_.hear(received);
}

void LiveScan::changed(CBManagerState state) { session_.phone().bluetooth().changeState(state); }

void LiveScan::noted(const std::string& line) { session_.note("nimbrel: " + line); }

void LiveScan::followClock() {
  everySecond([this] {
    // The queue's clock is steady. It drifts a little against the machine's, which is corrected as
    // it goes; a person or a time server sets the machine's in a step.
    constexpr MainQueue::Time kShortestStep = std::chrono::seconds(2);
    const MainQueue::Time ahead = machineClock_() - (origin_ + queue_.now() + queue_.lag());
    origin_ += ahead;
    session_.phone().setClock(origin_ + queue_.now());
    if (std::chrono::abs(ahead) < kShortestStep) {
      return;
    }
    const auto seconds = std::chrono::round<std::chrono::seconds>(std::chrono::abs(ahead));
    noted("the clock was set " + std::string(ahead.count() < 0 ? "back" : "forward") + " by " +
          std::to_string(seconds.count()) + " s; detection starts over");
    // The plug-in thins by the wall clock: what it remembers of a later time would silence it.
    session_.startOver();
  });
}

void LiveScan::keepOnDisk() {
  everySecond([this] { record([](Recording& recording) { recording.sync(); }); });
}

void LiveScan::record(const std::function<void(Recording&)>& action) {
  if (!recording_.has_value()) {
    return;
  }
  try {
    action(*recording_);
  } catch (const std::runtime_error& error) {
    hasRecordingFailed_ = true;
    recording_.reset();
    noted(std::string(error.what()) + "; the scan goes on without it");
  }
}

void LiveScan::everySecond(const std::function<void()>& task) {
  queue_.at(queue_.now() + std::chrono::seconds(1), [this, task] {
    task();
    everySecond(task);
  });
}

}  // namespace nimbrel
