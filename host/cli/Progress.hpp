#pragma once

#include <chrono>
#include <cstdint>

#include "host/cli/Output.hpp"

namespace nimbrel {

/// How far a long replay has come, on one line of a terminal that is rewritten in place.
class Progress {
 public:
  /// Shows nothing where it is not wanted or `output` is no terminal.
  Progress(Output& output, bool isWanted)
      : output_(output), isShown_(isWanted && output.isTerminal()) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Takes note of one more step of the work; now and then, asks `fraction` (0 to 1) how far it is.
  template <typename Fraction>
  void step(const Fraction& fraction) {
    constexpr std::uint64_t stepsBetweenLooks =
        1024;  // a look at the clock costs as much as a step
    if (isShown_ && ++steps_ % stepsBetweenLooks == 0 && isDue()) {
      show(fraction());
    }
  }

  /// Takes the line away, so that other text can be written.
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
