#include "host/findings/Lanes.hpp"

#include <algorithm>

#include "host/phone/StateNames.hpp"

namespace nimbrel {

namespace {

constexpr MainQueue::Time kStillGoingOn = MainQueue::Time::max();
constexpr std::string_view kInside = "inside";
constexpr std::string_view kRanged = "ranged";
constexpr std::string_view kRefused = "refused";

std::string_view nameOf(CBManagerState state) {
  const auto index = static_cast<std::uint64_t>(state);
  return index < kBluetoothStates.size() ? kBluetoothStates[index] : "another state";
}

std::string_view nameOf(CLAuthorizationStatus status) {
  const auto index = static_cast<std::uint64_t>(status);
  return index < kAuthorizations.size() ? kAuthorizations[index] : "another status";
}

/// Ends the stretch of that state, or of whatever state if it is empty.
void endStretch(Lanes::Lane& lane, std::string_view state, MainQueue::Time at) {
  for (Lanes::Stretch& stretch : lane.stretches) {
    if (stretch.to == kStillGoingOn && (state.empty() || stretch.state == state)) {
      stretch.to = at;
    }
  }
}

void beginStretch(Lanes::Lane& lane, std::string_view state, MainQueue::Time at) {
  const auto goesOn = [state](const Lanes::Stretch& stretch) {
    return stretch.to == kStillGoingOn && stretch.state == state;
  };
  if (std::ranges::any_of(lane.stretches, goesOn)) {
    return;
  }
  if (lane.stretches.size() == Lanes::kStretchesAtMost) {
    ++lane.leftOut;
  } else {
    lane.stretches.push_back({state, at, kStillGoingOn});
  }
}

void setStretch(Lanes::Lane& lane, std::string_view state, MainQueue::Time at) {
  if (!lane.stretches.empty() && lane.stretches.back().to == kStillGoingOn &&
      lane.stretches.back().state == state) {
    return;
  }
  endStretch(lane, {}, at);
  beginStretch(lane, state, at);
}

}  // namespace

Lanes::Lanes() : lanes_{{"bluetooth", {}, {}}, {"permission", {}, {}}} {}

void Lanes::bluetoothChanged(CBManagerState state, MainQueue::Time at) {
  setStretch(lanes_[0], nameOf(state), at);
}

void Lanes::authorizationChanged(CLAuthorizationStatus status, MainQueue::Time at) {
  setStretch(lanes_[1], nameOf(status), at);
}

void Lanes::requested(const Request& request, MainQueue::Time at) {
  if (!request.region.has_value()) {
    return;
  }
  Lane& lane = regionNamed(request.region->identifier);
  if (request.operation == "startRangingBeacons") {
    beginStretch(lane, kRanged, at);
  } else if (request.operation == "stopRangingBeacons") {
    endStretch(lane, kRanged, at);
  } else if (request.operation == "stopMonitoring") {
    endStretch(lane, kInside, at);
    endStretch(lane, kRefused, at);
  }
}

void Lanes::crossed(const CLRegion& region, bool isInside, MainQueue::Time at) {
  Lane& lane = regionNamed(region.identifier);
  if (isInside) {
    beginStretch(lane, kInside, at);
  } else {
    endStretch(lane, kInside, at);
  }
}

void Lanes::monitoringFailed(const CLRegion* region, MainQueue::Time at) {
  if (region != nullptr) {
    beginStretch(regionNamed(region->identifier), kRefused, at);
  }
}

void Lanes::end(MainQueue::Time at) {
  for (Lane& lane : lanes_) {
    endStretch(lane, {}, at);
  }
}

Lanes::Lane& Lanes::regionNamed(const std::string& name) {
  const auto isOfName = [&name](const Lane& lane) {
    return lane.kind == "region" && lane.name == name;
  };
  const auto place = std::ranges::find_if(lanes_, isOfName);
  return place == lanes_.end() ? lanes_.emplace_back(Lane{"region", name, {}}) : *place;
}

}  // namespace nimbrel
