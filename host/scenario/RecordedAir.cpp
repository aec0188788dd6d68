#include "host/scenario/RecordedAir.hpp"

#include <utility>

#include "host/base/InputError.hpp"

namespace nimbrel {

RecordedAir::RecordedAir(const std::string& path, Capture::WarningHandler warn)
    : capture_(Capture::open(path, std::move(warn))),
      next_(capture_->next()),
      timeline_(capture_->firstRecordTime().value_or(Timeline::Time::zero())) {
  if (next_ == nullptr) {
    throw InputError(path, "holds no Bluetooth LE advertisement; record while a scan runs");
  }
}

void RecordedAir::attach(Stage& stage, Transcript& transcript, bool setsClock) {
  stage_ = &stage;
  transcript_ = &transcript;
  setsClock_ = setsClock;
  setClock();
}

void RecordedAir::begin() { schedule(); }

void RecordedAir::schedule() {
  timeline_.advanceTo(next_ != nullptr ? next_->time : *capture_->lastRecordTime());
  stage_->queue().at(timeline_.now(), [this] {
    // Behind all that is due at the same instant.
    stage_->queue().at(timeline_.now(), [this] { hearNext(); });
  });
}

void RecordedAir::hearNext() {
  setClock();
  if (next_ == nullptr) {
    transcript_->airEnded();
    return;
  }
  stage_->hear(*next_);
  next_ = capture_->next();
  schedule();
}

void RecordedAir::setClock() {
  if (setsClock_) {
    stage_->phone().setClock(timeline_.clock());
  }
}

}  // namespace nimbrel
