#include "host/scenario/AirPart.hpp"

#include <algorithm>

namespace nimbrel {

AirPart::AirPart(const Selection& selection, AirListener& listener)
    : selection_(selection),
      listener_(listener),
      until_(selection.duration.has_value() ? selection.from + *selection.duration : Time::max()) {
  if (selection.isAnonymous) {
    anonymizer_.emplace();
  }
}

void AirPart::begin(Time clock) {
  clockAtZero_ = clock;
  beginWhereReached(Time::zero());
}

bool AirPart::hear(Time now, const Advertisement& advertisement) {
  beginWhereReached(now);
  if (endWhereReached(now)) {
    return false;
  }
  clockAtZero_ = advertisement.time - now;
  const bool isWanted =
      selection_.devices.empty() || selection_.devices.contains(advertisement.address.bytes);
  if (!hasBegun_ || !isWanted) {
    return true;
  }
  return listener_.hear(now - selection_.from, anonymizer_.has_value()
                                                   ? anonymizer_->anonymized(advertisement)
                                                   : advertisement);
}

void AirPart::end(Time now, Time clock, Time over) {
  beginWhereReached(now);
  if (!hasBegun_ || hasEnded_ || endWhereReached(now)) {
    return;
  }
  listener_.end(now - selection_.from, clock, std::min(over, until_) - selection_.from);
}

void AirPart::beginWhereReached(Time now) {
  if (!hasBegun_ && now >= selection_.from) {
    hasBegun_ = true;
    listener_.begin(clockAtZero_ + selection_.from);
  }
}

bool AirPart::endWhereReached(Time now) {
  if (!hasEnded_ && now >= until_) {
    hasEnded_ = true;
    const Time length = until_ - selection_.from;
    listener_.end(length, clockAtZero_ + until_, length);
  }
  return hasEnded_;
}

}  // namespace nimbrel
