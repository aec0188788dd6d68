#include "host/phone/RegionMonitoring.hpp"

#include <utility>

#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

const CLBeaconRegion* asBeaconRegion(const std::shared_ptr<const CLRegion>& region) {
  return dynamic_cast<const CLBeaconRegion*>(region.get());
}

}  // namespace

RegionMonitoring::RegionMonitoring(MainQueue& queue, MainQueue::Time exitDelay, Reports reports)
    : queue_(queue), exitDelay_(exitDelay), reports_(std::move(reports)) {}

bool RegionMonitoring::start(const CLBeaconRegion& region) {
  if (monitored_.size() >= rules::kMonitoredRegionsAtMost &&
      !monitored_.contains(region.identifier)) {
    return false;
  }
  monitored_.insert_or_assign(region.identifier,
                              Monitored{std::make_shared<CLBeaconRegion>(region), ++started_});
  return true;
}

void RegionMonitoring::startForeign(const std::string& identifier) {
  monitored_.insert_or_assign(identifier,
                              Monitored{std::make_shared<CLRegion>(identifier), ++started_});
}

std::vector<std::shared_ptr<const CLRegion>> RegionMonitoring::regions() const {
  std::vector<std::shared_ptr<const CLRegion>> regions;
  for (const auto& [identifier, monitored] : monitored_) {
    regions.push_back(monitored.region);
  }
  return regions;
}

const CLBeaconRegion* RegionMonitoring::find(const std::string& identifier) const {
  const auto found = monitored_.find(identifier);
  return found == monitored_.end() ? nullptr : asBeaconRegion(found->second.region);
}

void RegionMonitoring::hear(const UUID& uuid) {
  std::vector<std::shared_ptr<const CLRegion>> entered;
  for (auto& [identifier, monitored] : monitored_) {
    const CLBeaconRegion* region = asBeaconRegion(monitored.region);
    if (region == nullptr || region->uuid != uuid) {
      continue;
    }
    monitored.lastHeard = queue_.now();
    if (!monitored.isInside) {
      monitored.isInside = true;
      scheduleExit(identifier, monitored.number, queue_.now() + exitDelay_);
      entered.push_back(monitored.region);
    }
  }
  for (const auto& region : entered) {
    reports_.entered(*region);
  }
}

void RegionMonitoring::scheduleExit(const std::string& identifier, std::uint64_t number,
                                    MainQueue::Time due) {
  queue_.at(due, [this, identifier, number] {
    const auto found = monitored_.find(identifier);
    if (found == monitored_.end() || found->second.number != number) {
      return;
    }
    const MainQueue::Time silentUntil = found->second.lastHeard + exitDelay_;
    if (silentUntil > queue_.now()) {
      scheduleExit(identifier, number, silentUntil);
      return;
    }
    found->second.isInside = false;
    // The receiver may stop monitoring the region.
    const std::shared_ptr<const CLRegion> region = found->second.region;
    reports_.left(*region);
  });
}

}  // namespace nimbrel
