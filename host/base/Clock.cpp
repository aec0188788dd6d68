#include "host/base/Clock.hpp"

#include <algorithm>

namespace nimbrel {

Clock::Time SteadyClock::now() const {
  const std::chrono::duration<double, std::micro> real = std::chrono::steady_clock::now() - start_;
  return Time(static_cast<Time::rep>(real.count() * speed_));
}

int SteadyClock::wait(std::span<pollfd> descriptors, Time pause, std::optional<Time> patience) {
  constexpr double kLongest = 3600e6;
  const double real = static_cast<double>(pause.count()) / speed_;
  // Rounded up: a sleep that ends just before its task is due would be followed by one of 0.
  Time wait(static_cast<Time::rep>(std::clamp(real + 0.999, 0.0, kLongest)));
  if (patience.has_value()) {
    wait = std::clamp(*patience, Time::zero(), wait);
  }
  const timespec timeout{wait.count() / 1'000'000, wait.count() % 1'000'000 * 1000};
  return ppoll(descriptors.data(), descriptors.size(), &timeout, nullptr);
}

}  // namespace nimbrel
