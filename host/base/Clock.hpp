#pragma once

#include <poll.h>

#include <chrono>
#include <optional>
#include <span>

namespace nimbrel {

/// The clock of a queue in real time: tells the time and waits.
class Clock {
 public:
  using Time = std::chrono::microseconds;

  virtual ~Clock() = default;

  /// Steady, from any start.
  [[nodiscard]] virtual Time now() const = 0;

  /// Waits as poll(2) does, and returns what that returns: for `pause` by this clock, or for
  /// `patience` by the machine's if that is shorter.
  virtual int wait(std::span<pollfd> descriptors, Time pause, std::optional<Time> patience) = 0;
};

/// The machine's steady clock, run at `speed` times its pace.
class SteadyClock final : public Clock {
 public:
  explicit SteadyClock(double speed) : speed_(speed) {}

  [[nodiscard]] Time now() const override;
  int wait(std::span<pollfd> descriptors, Time pause, std::optional<Time> patience) override;

 private:
  double speed_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace nimbrel
