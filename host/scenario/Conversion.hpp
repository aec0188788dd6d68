#pragma once

#include <cstddef>
#include <string>

#include "host/air/BtSnoopWriter.hpp"
#include "host/air/Capture.hpp"
#include "host/scenario/AirListener.hpp"
#include "host/scenario/Scenario.hpp"

namespace nimbrel {

/// Passes the advertisements of a recording to `listener`, at the times at which `nimbrel scan`
/// hears them: the first record lies at second 0, and the run ends a second after the last one.
/// Throws as Capture does.
/// REQUIRES: `capture` was not read from.
void playRecordedAir(Capture& capture, AirListener& listener);

/// Passes the advertisements of a scenario's steps to `listener`, repeats included. Signal
/// strengths are rounded to whole numbers from -128 to 127 dBm, and names and manufacturer data are
/// cut to 254 bytes. Returns how many advertisements that changed. `name` stands for the scenario
/// in messages. Throws InputError if the scenario's clock leaves the years that a recording can
/// hold.
std::size_t playScenarioAir(const Scenario& scenario, const std::string& name,
                            AirListener& listener);

/// Writes advertisements as a recording, between two records that mark its first and last time.
class RecordingWriter final : public AirListener {
 public:
  /// `writer` outlives it.
  explicit RecordingWriter(BtSnoopWriter& writer) : writer_(writer) {}

  void begin(Time clock) override { writer_.writeMark(clock); }
  bool hear(Time /*now*/, const Advertisement& advertisement) override {
    writer_.write(advertisement);
    return true;
  }
  void end(Time /*now*/, Time clock, Time /*over*/) override { writer_.writeMark(clock); }

 private:
  BtSnoopWriter& writer_;
};

}  // namespace nimbrel
