#pragma once

#include <chrono>
#include <cstdint>

#include "host/base/Output.hpp"
#include "host/terminal/Escapes.hpp"

namespace nimbrel {

/// Shows how far a long replay has come, on one line of a terminal that is rewritten in place.
class Progress {
 public:
  /// Shows nothing unless `isWanted` and `output` is a terminal that can rewrite a line.
  Progress(Output& output, bool isWanted)
      : output_(output), isShown_(isWanted && takesEscapes(output)) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Counts one more step of the work. Five times a second at most, shows `fraction()`, from 0
  /// to 1.
  template <typename Fraction>
  void step(const Fraction& fraction) {
    constexpr std::uint64_t kStepsBetweenLooks =
        1024;  // a look at the clock costs as much as a step
    if (isShown_ && ++steps_ % kStepsBetweenLooks == 0 && isDue()) {
      show(fraction());
    }
  }

  /// Clears the line, so that other text can be written.
  void clear();

 private:
  bool isDue();
  void show(double fraction);

  Output& output_;
  bool isShown_;
  bool isOnScreen_ = false;
  std::uint64_t steps_ = 0;
  std::chrono::steady_clock::time_point due_ =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
};

}  // namespace nimbrel
