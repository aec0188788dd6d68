#pragma once

#include <chrono>
#include <optional>

namespace nimbrel {

/// Places the records of a recording on a clock that never goes back.
///
/// A recorder's clock may be set during a recording. A step of more than a second back or a day
/// ahead counts as that: time goes on from the new reading after a day of silence at most.
class Timeline {
 public:
  using Time = std::chrono::microseconds;

  /// `first` is the time of the first record, which lies at 0.
  explicit Timeline(Time first) : origin_(first), clock_(first) {}

  /// Goes on to the next record. The times of records are since 1970. Returns what the recorder's
  /// clock would read if it had not been set; absent if it was not.
  std::optional<Time> advanceTo(Time recorded);

  /// Since the first record.
  [[nodiscard]] Time now() const { return now_; }
  /// The wall clock at the record, since 1970. Records a little out of order lie at the time
  /// reached, under the time at which they were recorded.
  [[nodiscard]] Time clock() const { return clock_; }

 private:
  Time origin_;
  Time clock_;
  Time now_{};
};

}  // namespace nimbrel
