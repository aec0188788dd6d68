#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/Dispatch.hpp"

namespace nimbrel {

/// The main thread's queue of tasks, and the only owner of time.
///
/// In virtual time, waiting costs nothing: the queue jumps to the next due task. In real time,
/// which begins with the first `runUntil`, it sleeps until that task or until a watched file
/// descriptor is ready. Used on one thread, but for `stop`.
class MainQueue {
 public:
  using Time = std::chrono::microseconds;

  /// Virtual time, or real time run at `speed` times its pace.
  explicit MainQueue(std::optional<double> speed = std::nullopt);
  ~MainQueue();
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;

  /// The time since the start.
  [[nodiscard]] Time now() const { return now_; }

  /// How far real time is ahead of `now`: long tasks and a suspension of the program leave the
  /// queue behind. 0 in virtual time.
  [[nodiscard]] Time lag() const;

  /// Runs `task` in its turn, after the tasks queued before it.
  void async(DispatchTask task);

  /// Runs `task` at `due`, or as soon as may be after it. Tasks of one instant run in the order in
  /// which they were asked for.
  void at(Time due, DispatchTask task);

  /// Runs the tasks that wait in the queue, and those that they add, until none is left. Within a
  /// task it does nothing: they run after that one.
  void drain();

  /// Lets the time pass up to `end`, and runs all that falls due by then, what is due at `end`
  /// included, each followed by the tasks that it queued. Returns early when stopped.
  void runUntil(Time end);

  /// What a watched descriptor waits for next.
  struct Interest {
    short events;  // of poll(2)
    /// The longest wait, in real time.
    std::optional<Time> atMost;
  };

  /// The interest of whoever only reads, at any time.
  static Interest wantsToRead() { return {POLLIN, std::nullopt}; }

  /// Calls `ready`, in real time, whenever `descriptor` is, and where `interest` sets a longest
  /// wait, after each sleep. `interest` is asked before each sleep; left out, it is reading. One
  /// for each descriptor.
  void watch(int descriptor, std::function<void()> ready,
             std::function<Interest()> interest = wantsToRead);
  void unwatch(int descriptor);

  /// Has `task` run whenever the queue is about to sleep, in real time.
  void beforeSleeping(std::function<void()> task) { beforeSleeping_ = std::move(task); }

  /// Ends `runUntil` as soon as the running task returns. Safe in a signal handler.
  void stop();
  [[nodiscard]] bool stopped() const { return stopped_.load(std::memory_order_relaxed); }

 private:
  struct Timer {
    Time due;
    std::uint64_t number;
    DispatchTask task;

    friend bool operator>(const Timer& left, const Timer& right) {
      return std::tie(left.due, left.number) > std::tie(right.due, right.number);
    }
  };

  struct Watch {
    std::function<void()> ready;
    std::function<Interest()> interest;
  };

  void passTimeUntil(Time end);
  /// REQUIRES: real time, which has begun.
  [[nodiscard]] Time elapsed() const;

  Time now_{};
  std::optional<double> speed_;
  std::optional<std::chrono::steady_clock::time_point> started_;  // when real time began
  std::vector<DispatchTask> tasks_;
  std::vector<DispatchTask> running_;
  std::vector<Timer> timers_;  // a heap, the next one due at the front
  std::uint64_t timersMade_ = 0;
  std::map<int, Watch> watches_;
  std::function<void()> beforeSleeping_;
  int wake_ = -1;  // an event descriptor that `stop` writes to, in real time
  std::atomic<bool> stopped_ = false;
};

}  // namespace nimbrel
