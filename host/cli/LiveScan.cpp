#include "host/cli/LiveScan.hpp"

#include <algorithm>

namespace nimbrel {

namespace {

MainQueue::Time wallClock() {
  return std::chrono::duration_cast<MainQueue::Time>(
      std::chrono::system_clock::now().time_since_epoch());
}

}  // namespace

LiveScan::LiveScan(const ScanOptions& options, MainQueue& queue, Output& output, Output& errors)
    : options_(options),
      queue_(queue),
      session_(options, queue, CBManagerState::poweredOn, output, errors),
      adapter_(options.adapter, queue, *this) {
  if (options.recording.has_value()) {
    recording_.emplace(*options.recording, options.force);
  }
}

void LiveScan::run() {
  noted(adapter_.name() + ": listening; Ctrl-C ends the scan");
  session_.phone().setClock(wallClock());
  session_.start();
  watchForSilence(std::chrono::minutes(1));
  if (recording_.has_value()) {
    keepOnDisk();
  }
  queue_.runUntil(options_.duration.value_or(MainQueue::Time::max()));
  session_.stop();
  if (recording_.has_value()) {
    recording_->sync();
  }
  session_.summarize();
}

void LiveScan::heard(const Advertisement& advertisement) {
  // The wall clock is the machine's, whenever that is set or the machine sleeps.
  const MainQueue::Time now = wallClock();
  session_.phone().setClock(now);
  lastHeard_ = queue_.now();
  Advertisement received = advertisement;
  received.time = now;
  if (recording_.has_value()) {
    recording_->write(received);
  }
  session_.hear(received);
}

void LiveScan::changed(CBManagerState state) {
  lastHeard_ = queue_.now();
  session_.phone().bluetooth().changeState(state);
}

void LiveScan::noted(const std::string& line) { session_.note("nimbrel: " + line); }

void LiveScan::watchForSilence(MainQueue::Time due) {
  queue_.at(due, [this] {
    constexpr MainQueue::Time longestSilence = std::chrono::minutes(1);
    const bool isOn = session_.phone().bluetooth().state() == CBManagerState::poweredOn;
    const MainQueue::Time silentUntil = lastHeard_ + longestSilence;
    if (isOn && queue_.now() >= silentUntil) {
      noted(adapter_.name() +
            ": nothing was heard for a minute; is a beacon on and near, and the antenna free?");
    } else {
      watchForSilence(isOn ? silentUntil : queue_.now() + longestSilence);
    }
  });
}

void LiveScan::keepOnDisk() {
  constexpr MainQueue::Time interval = std::chrono::seconds(1);
  queue_.at(queue_.now() + interval, [this] {
    recording_->sync();
    keepOnDisk();
  });
}

}  // namespace nimbrel
