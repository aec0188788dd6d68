#pragma once

#include <memory>
#include <string>

#include "host/air/Capture.hpp"
#include "host/air/Timeline.hpp"
#include "host/scenario/Desk.hpp"

namespace nimbrel {

/// Lets the phone of a desk hear a recording. Its first record lies at second 0, and if nobody
/// set the phone's clock that is the recorder's.
class RecordedAir final : public DeskAir {
 public:
  /// Of a file. `warn` is told of damage inside it. Throws InputError if it cannot be used.
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
