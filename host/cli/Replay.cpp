#include "host/cli/Replay.hpp"

#include <algorithm>

namespace nimbrel {

Replay::Replay(const ScanOptions& options, Capture& capture, const Advertisement& first,
               MainQueue& queue, ScanSession& session, Progress& progress)
    : options_(options),
      capture_(capture),
      next_(&first),
      queue_(queue),
      session_(session),
      progress_(progress),
      origin_(*capture.firstRecordTime()) {}

void Replay::run() {
  session_.phone().setClock(origin_);
  session_.start();
  const MainQueue::Time end = options_.duration.value_or(MainQueue::Time::max());
  for (; next_ != nullptr && !queue_.stopped(); next_ = capture_.next()) {
    passTimeUntil(next_->time);
    if (queue_.now() >= end) {
      break;
    }
    session_.hear(*next_);
    progress_.step([this] { return capture_.progress(); });
  }
  if (next_ == nullptr) {
    passTimeUntil(*capture_.lastRecordTime());
    queue_.runUntil(std::min(queue_.now() + std::chrono::seconds(1), end));
  }
  session_.stop();
}

void Replay::passTimeUntil(std::chrono::microseconds recorded) {
  // A recorder's clock is set now and then. A step beyond these bounds is taken for that: time
  // goes on from the new reading, with no more than a day of silence in between.
  constexpr MainQueue::Time longestSilence = std::chrono::hours(24);
  constexpr MainQueue::Time shortestStepBack = std::chrono::seconds(-1);
  const MainQueue::Time end = options_.duration.value_or(MainQueue::Time::max());
  const MainQueue::Time ahead = recorded - origin_ - queue_.now();
  if (ahead > MainQueue::Time::zero()) {
    queue_.runUntil(std::min(queue_.now() + std::min(ahead, longestSilence), end));
  }
  if (ahead > longestSilence || ahead < shortestStepBack) {
    origin_ = recorded - queue_.now();
  }
  // Records a little out of order are played at once, under the time at which they were recorded.
  session_.phone().setClock(std::min(recorded, origin_ + queue_.now()));
}

}  // namespace nimbrel
