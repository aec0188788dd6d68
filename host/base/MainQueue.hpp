#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "host/base/Clock.hpp"
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
  /// Real time as `clock` tells it.
  explicit MainQueue(std::unique_ptr<Clock> clock);
  ~MainQueue();
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;

  /// The time since the start.
  [[nodiscard]] Time now() const { return now_; }

  /// How far real time is ahead of `now`: long tasks and a suspension of the program leave the
  /// queue behind. 0 in virtual time.
  [[nodiscard]] Time lag() const;

  /// Runs `task` after the tasks that are already queued.
  void async(DispatchTask task);

  /// Runs `task` at `due`, or as soon as possible if that has passed. Tasks due at the same instant
  /// run in the order in which they were added.
  void at(Time due, DispatchTask task);

  /// Runs the queued tasks, and those that they add, until none is left. Does nothing when called
  /// from a task: the queued tasks run after it.
  void drain() {
    if (!tasks_.empty() && running_.empty()) {
      runTasks();
    }
  }

  /// Lets time pass up to `end` and runs all tasks that are due by then, those due at `end`
  /// included. After each, drains the queue. Returns early when stopped.
  void runUntil(Time end);

  /// What a watched descriptor waits for next.
  struct Interest {
    short events;  // of poll(2)
    /// The longest wait, in real time.
    std::optional<Time> atMost;
  };

  /// For a descriptor that is only read, however long that takes.
  static Interest wantsToRead() { return {POLLIN, std::nullopt}; }

  /// In real time, calls `ready` whenever `descriptor` is ready, and after each sleep if `interest`
  /// sets a longest wait. `interest` is called before each sleep. A descriptor has one watch: a
  /// second call replaces it.
  void watch(int descriptor, std::function<void()> ready,
             std::function<Interest()> interest = wantsToRead);
  void unwatch(int descriptor);

  /// Runs `task` each time the queue is about to sleep in real time.
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

  struct Sleep {
    std::optional<Time> patience;  // the longest that it may take by the machine's clock
    std::vector<pollfd> descriptors;
    std::set<int> impatient;  // those called after the sleep even if they are not ready
  };

  void runTasks();
  void passTimeUntil(Time end);
  void passRealTimeUntil(Time end);
  void sleepUntil(Time end);
  [[nodiscard]] Sleep planSleep() const;
  void callReady(const Sleep& sleep);
  /// Moves `now` to the real time, but not past `end`.
  void catchUp(Time end);
  /// REQUIRES: real time has begun.
  [[nodiscard]] Time elapsed() const { return clock_->now() - *started_; }

  Time now_{};
  std::unique_ptr<Clock> clock_;  // null in virtual time
  std::optional<Time> started_;   // the clock's reading when real time began
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
