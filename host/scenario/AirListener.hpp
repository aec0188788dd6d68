#pragma once

#include <chrono>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// Receives the advertisements of a recording or a scenario in the order of time. `now` is the time
/// since the start and never goes back. `clock` is the wall clock, since 1970.
class AirListener {
 public:
  using Time = std::chrono::microseconds;

  AirListener() = default;
  AirListener(const AirListener&) = delete;
  AirListener& operator=(const AirListener&) = delete;
  virtual ~AirListener() = default;

  /// Called once, at second 0, before anything else.
  virtual void begin(Time clock) = 0;
  /// The wall clock reads the advertisement's time. Returns false if no more is wanted.
  virtual bool hear(Time now, const Advertisement& advertisement) = 0;
  /// Called once, at the end. A run of the plug-in goes on until `over`, to make its last report.
  virtual void end(Time now, Time clock, Time over) = 0;
};

}  // namespace nimbrel
