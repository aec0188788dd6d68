#include "host/bluez/SilenceWatch.hpp"

#include <algorithm>

namespace nimbrel {
namespace {

constexpr std::uint64_t kBusyMinute = 60;  // Reports: one a second.
constexpr MainQueue::Time kBeforeRestart = std::chrono::seconds(15);
constexpr MainQueue::Time kBeforeAdvice = std::chrono::seconds(30);
constexpr MainQueue::Time kMinute = std::chrono::minutes(1);

}  // namespace

void SilenceWatch::heard(MainQueue::Time now) {
  if (now - minute_ >= kMinute) {
    earlierReports_ = now - minute_ < 2 * kMinute ? reports_ : 0;
    reports_ = 0;
    minute_ = now;
  }
  ++reports_;
  lastHeard_ = now;
  last_ = Step::none;
}

void SilenceWatch::reset(MainQueue::Time now) {
  lastHeard_ = minute_ = now;
  reports_ = earlierReports_ = 0;
  last_ = Step::none;
}

SilenceWatch::Step SilenceWatch::check(MainQueue::Time now) {
  const MainQueue::Time silence = now - lastHeard_;
  if (last_ == Step::none && wasBusy() && silence >= kBeforeRestart) {
    return last_ = Step::restart;
  }
  if (last_ == Step::restart && silence >= kBeforeAdvice) {
    return last_ = Step::advise;
  }
  if (last_ == Step::none && !hasAsked_ && silence >= kMinute) {
    hasAsked_ = true;
    return Step::ask;
  }
  return Step::none;
}

bool SilenceWatch::wasBusy() const { return std::max(reports_, earlierReports_) >= kBusyMinute; }

}  // namespace nimbrel
