#include "host/air/Recordings.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

#include "host/base/InputError.hpp"

namespace nimbrel {

Recordings::Recordings(std::vector<std::unique_ptr<Capture>> captures,
                       const Capture::WarningHandler& warn) {
  assert(!captures.empty());
  for (auto& capture : captures) {
    const Advertisement* const first = capture->next();
    parts_.push_back({std::move(capture), first});
  }
  const auto isSilent = [](const Part& part) { return part.next == nullptr; };
  if (std::ranges::all_of(parts_, isSilent)) {
    const Capture& capture = *parts_.front().capture;
    throw InputError(capture.name(), capture.silence());
  }
  for (const Part& part : parts_) {
    if (isSilent(part)) {
      warn(part.capture->name() + ": " + part.capture->silence());
    }
  }
}

const Advertisement* Recordings::next() {
  if (current_ != nullptr) {
    current_->next = current_->capture->next();
  }
  current_ = nullptr;
  for (Part& part : parts_) {
    if (part.next != nullptr && (current_ == nullptr || part.next->time < current_->next->time)) {
      current_ = &part;
    }
  }
  return current_ == nullptr ? nullptr : current_->next;
}

std::optional<std::chrono::microseconds> Recordings::firstRecordTime() const {
  std::optional<std::chrono::microseconds> first;
  for (const Part& part : parts_) {
    if (const auto time = part.capture->firstRecordTime()) {
      first = std::min(*time, first.value_or(*time));
    }
  }
  return first;
}

std::optional<std::chrono::microseconds> Recordings::lastRecordTime() const {
  std::optional<std::chrono::microseconds> last;
  for (const Part& part : parts_) {
    last = std::max(last, part.capture->lastRecordTime());
  }
  return last;
}

std::uint64_t Recordings::damagedPackets() const {
  std::uint64_t count = 0;
  for (const Part& part : parts_) {
    count += part.capture->damagedPackets();
  }
  return count;
}

double Recordings::progress() const {
  double sum = 0.0;
  for (const Part& part : parts_) {
    sum += part.capture->progress();
  }
  return sum / static_cast<double>(parts_.size());
}

}  // namespace nimbrel
