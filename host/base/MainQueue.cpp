#include "host/base/MainQueue.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace nimbrel {

MainQueue::MainQueue(std::optional<double> speed)
    : MainQueue(speed.has_value() ? std::make_unique<SteadyClock>(*speed) : nullptr) {}

MainQueue::MainQueue(std::unique_ptr<Clock> clock) : clock_(std::move(clock)) {
  if (clock_ != nullptr) {
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake_ < 0) {
      throw std::system_error(errno, std::generic_category(), "cannot make an event descriptor");
    }
  }
}

MainQueue::~MainQueue() {
  if (wake_ >= 0) {
    close(wake_);
  }
}

void MainQueue::async(DispatchTask task) { tasks_.push_back(std::move(task)); }

void MainQueue::at(Time due, DispatchTask task) {
  timers_.push_back({std::max(due, now_), timersMade_++, std::move(task)});
  std::push_heap(timers_.begin(), timers_.end(), std::greater<>());
}

void MainQueue::runTasks() {
  while (!tasks_.empty()) {
    running_.swap(tasks_);
    for (DispatchTask& task : running_) {
      task();
    }
    running_.clear();
  }
}

inline void MainQueue::passTimeUntil(Time end) {
  if (clock_ == nullptr) {
    now_ = std::max(now_, end);
  } else {
    passRealTimeUntil(end);
  }
}

void MainQueue::runUntil(Time end) {
  drain();
  while (!stopped()) {
    const bool isDue = !timers_.empty() && timers_.front().due <= end;
    const Time next = isDue ? timers_.front().due : end;
    passTimeUntil(next);
    if (stopped()) {
      return;
    }
    // Each turn takes one due task and one look at the descriptors, so that neither starves the
    // other. A descriptor may have brought a task that is due before `next`.
    if (!timers_.empty() && timers_.front().due <= now_) {
      std::pop_heap(timers_.begin(), timers_.end(), std::greater<>());
      const DispatchTask task = std::move(timers_.back().task);
      timers_.pop_back();
      task();
      drain();
    } else if (now_ >= end) {
      return;
    }
  }
}

MainQueue::Time MainQueue::lag() const {
  return started_.has_value() ? std::max(elapsed() - now_, Time::zero()) : Time::zero();
}

void MainQueue::catchUp(Time end) { now_ = std::max(now_, std::min(elapsed(), end)); }

void MainQueue::passRealTimeUntil(Time end) {
  if (!started_.has_value()) {
    started_ = clock_->now();
  }
  catchUp(end);
  if (now_ < end || !watches_.empty()) {
    sleepUntil(end);
    catchUp(end);
  }
}

void MainQueue::sleepUntil(Time end) {
  Sleep sleep = planSleep();
  if (beforeSleeping_ && now_ < end && sleep.patience != Time::zero()) {
    beforeSleeping_();
  }
  if (clock_->wait(sleep.descriptors, end - now_, sleep.patience) >= 0) {
    catchUp(end);
    callReady(sleep);
  }
}

MainQueue::Sleep MainQueue::planSleep() const {
  Sleep sleep;
  sleep.descriptors.push_back({wake_, POLLIN, 0});
  for (const auto& [descriptor, watch] : watches_) {
    const Interest interest = watch.interest();
    sleep.descriptors.push_back({descriptor, interest.events, 0});
    if (interest.atMost.has_value()) {
      sleep.impatient.insert(descriptor);
      const Time longest = std::max(*interest.atMost, Time::zero());
      sleep.patience = std::min(longest, sleep.patience.value_or(longest));
    }
  }
  return sleep;
}

void MainQueue::callReady(const Sleep& sleep) {
  for (const pollfd& polled : sleep.descriptors) {
    const auto found = watches_.find(polled.fd);
    if (found != watches_.end() && (polled.revents != 0 || sleep.impatient.contains(polled.fd))) {
      // A copy: the function may unwatch its own descriptor.
      const std::function<void()> ready = found->second.ready;
      ready();
      drain();
    }
  }
}

void MainQueue::watch(int descriptor, std::function<void()> ready,
                      std::function<Interest()> interest) {
  watches_.insert_or_assign(descriptor, Watch{std::move(ready), std::move(interest)});
}

void MainQueue::unwatch(int descriptor) { watches_.erase(descriptor); }

void MainQueue::stop() {
  stopped_.store(true, std::memory_order_relaxed);
  if (wake_ >= 0) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wake_, &one, sizeof one);
  }
}

}  // namespace nimbrel
