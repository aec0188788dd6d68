#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/air/Capture.hpp"

namespace nimbrel {

/// Several captures merged into one: their advertisements in the order of their times.
class Recordings {
 public:
  /// `warn` takes a line on each capture without an advertisement. Throws InputError if all are
  /// without one. REQUIRES: at least one capture, none of which was read from.
  Recordings(std::vector<std::unique_ptr<Capture>> captures, const Capture::WarningHandler& warn);

  /// The next advertisement of all, or null at the end; of one capture, in the order in which it
  /// has them. Valid until the next call.
  const Advertisement* next();

  /// The time span of all records read so far; null before the first.
  [[nodiscard]] std::optional<std::chrono::microseconds> firstRecordTime() const;
  [[nodiscard]] std::optional<std::chrono::microseconds> lastRecordTime() const;

  [[nodiscard]] std::uint64_t damagedPackets() const;

  /// How far the reading has come, from 0 to 1.
  [[nodiscard]] double progress() const;

 private:
  struct Part {
    std::unique_ptr<Capture> capture;
    const Advertisement* next;
  };

  std::vector<Part> parts_;
  Part* current_ = nullptr;  // the one whose advertisement was returned last
};

}  // namespace nimbrel
