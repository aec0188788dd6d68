#pragma once

#include <memory>
#include <string>

#include "host/air/Capture.hpp"
#include "host/air/Timeline.hpp"
#include "host/scenario/Desk.hpp"

namespace nimbrel {

/// Plays a recording to the phone of a desk. The first record is at second 0. The phone's clock is
/// the recorder's unless the scenario sets it.
class RecordedAir final : public DeskAir {
 public:
  /// Opens a file. `warn` gets a line about damage inside it. Throws InputError if it cannot be
  /// used.
  RecordedAir(const std::string& path, Capture::WarningHandler warn);

  void attach(Stage& stage, Transcript& transcript, bool setsClock) override;
  void begin() override;

 private:
  void schedule();
  void hearNext();
  void setClock();

  std::unique_ptr<Capture> capture_;
  const Advertisement* next_;
  Timeline timeline_;
  Stage* stage_ = nullptr;
  Transcript* transcript_ = nullptr;
  bool setsClock_ = false;
};

}  // namespace nimbrel
