#include "host/air/Timeline.hpp"

#include <algorithm>

namespace nimbrel {

std::optional<Timeline::Time> Timeline::advanceTo(Time recorded) {
  constexpr Time kLongestSilence = std::chrono::hours(24);
  constexpr Time kShortestStepBack = std::chrono::seconds(-1);
  const Time ahead = recorded - origin_ - now_;
  now_ += std::clamp(ahead, Time::zero(), kLongestSilence);
  clock_ = recorded;
  if (ahead > kLongestSilence || ahead < kShortestStepBack) {
    origin_ = recorded - now_;
    return recorded - ahead;
  }
  return std::nullopt;
}

}  // namespace nimbrel
