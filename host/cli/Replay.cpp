#include "host/cli/Replay.hpp"

#include <algorithm>

namespace nimbrel {

Replay::Replay(std::optional<MainQueue::Time> duration, Recordings& recordings, MainQueue& queue,
               Session& session, Progress& progress)
    : recordings_(recordings),
      queue_(queue),
      session_(session),
      progress_(progress),
      end_(duration.value_or(MainQueue::Time::max())),
      timeline_(*recordings.firstRecordTime()) {}

void Replay::run() {
  session_.phone().setClock(timeline_.clock());
  session_.start();
  const Advertisement* next = recordings_.next();
  for (; next != nullptr && !queue_.stopped(); next = recordings_.next()) {
    passTimeUntil(next->time);
    if (queue_.now() >= end_) {
      break;
    }
    session_.hear(*next);
    progress_.step([this] { return recordings_.progress(); });
  }
  if (next == nullptr) {
    passTimeUntil(*recordings_.lastRecordTime());
    queue_.runUntil(std::min(queue_.now() + std::chrono::seconds(1), end_));
  }
  session_.stop();
}

void Replay::passTimeUntil(std::chrono::microseconds recorded) {
  const std::optional<Timeline::Time> before = timeline_.advanceTo(recorded);
  if (timeline_.now() > queue_.now()) {
    queue_.runUntil(std::min(timeline_.now(), end_));
  }
  session_.phone().setClock(timeline_.clock());
  if (before.has_value()) {
    session_.clockJumped(*before, recorded);
  }
}

}  // namespace nimbrel
