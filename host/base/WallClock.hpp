#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

namespace nimbrel {

/// Wall-clock readings as text, in the machine's zone or in UTC. Readings count microseconds since
/// 1970-01-01 00:00:00 UTC; the text of one outside the calendar's range is empty.
class WallClock {
 public:
  using Reading = std::chrono::microseconds;

  explicit WallClock(bool isUtc) : isUtc_(isUtc) {}

  /// "22:13:20.987"
  [[nodiscard]] std::string time(Reading reading) const;
  /// "2023-11-14"
  [[nodiscard]] std::string date(Reading reading) const;
  /// "2023-11-14 22:13:20.987"
  [[nodiscard]] std::string dateAndTime(Reading reading) const;

  /// "times are in CET, from 2023-11-14 on"
  [[nodiscard]] std::string introduction(Reading begin) const;

  /// "CET", "UTC"
  [[nodiscard]] std::string zone(Reading reading) const;
  /// How far the zone is ahead of UTC; 0 for a reading that no calendar holds.
  [[nodiscard]] std::chrono::seconds offset(Reading reading) const;

 private:
  [[nodiscard]] std::optional<std::tm> calendar(Reading reading) const;
  [[nodiscard]] std::string formatted(const char* format, Reading reading) const;

  bool isUtc_;
};

}  // namespace nimbrel
