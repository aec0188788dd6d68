#include "host/phone/BeaconRanging.hpp"

#include <algorithm>
#include <cmath>

#include "Classes/bluetooth/DistanceEstimate.hpp"
#include "Classes/model/DetectionEvent.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

std::uint32_t indexKey(std::uint16_t major, std::uint16_t minor) {
  return std::uint32_t{major} << 16U | minor;
}

}  // namespace

BeaconRanging::BeaconRanging(MainQueue& queue, ReportHandler report)
    : queue_(queue), report_(std::move(report)) {}

void BeaconRanging::start(const CLLocationManager* manager, const CLBeaconRegion& region) {
  const Key key(region.identifier, manager);
  const auto running = ranged_.find(key);
  if (running != ranged_.end() && running->second.region.uuid == region.uuid) {
    return;
  }
  const std::uint64_t number = ++started_;
  ranged_.insert_or_assign(key, Ranged{region, number, {}, {}});
  scheduleReport(key, number);
}

void BeaconRanging::stop(const CLLocationManager* manager, const std::string& identifier) {
  ranged_.erase(Key(identifier, manager));
}

void BeaconRanging::stopAll(const CLLocationManager* manager) {
  std::erase_if(ranged_, [manager](const auto& entry) { return entry.first.second == manager; });
}

const CLBeaconRegion* BeaconRanging::find(const std::string& identifier) const {
  const auto found = std::ranges::find_if(
      ranged_, [&](const auto& entry) { return entry.first.first == identifier; });
  return found == ranged_.end() ? nullptr : &found->second.region;
}

bool BeaconRanging::hear(const BeaconFrame& frame, double rssi) {
  bool isRanged = false;
  for (auto& [key, ranged] : ranged_) {
    if (ranged.region.uuid != frame.uuid) {
      continue;
    }
    isRanged = true;
    Beacon& beacon = beaconOf(ranged, frame);
    beacon.measuredPower = frame.measuredPower;
    beacon.lastHeard = queue_.now();
    if (rssi != rules::kNoReading) {
      beacon.rssiSum += rssi;
      ++beacon.readings;
    }
  }
  return isRanged;
}

BeaconRanging::Beacon& BeaconRanging::beaconOf(Ranged& ranged, const BeaconFrame& frame) {
  const auto [index, isNew] =
      ranged.indices.try_emplace(indexKey(frame.major, frame.minor), ranged.beacons.size());
  if (isNew) {
    ranged.beacons.push_back({frame.major, frame.minor});
  }
  return ranged.beacons[index->second];
}

void BeaconRanging::scheduleReport(const Key& key, std::uint64_t number) {
  queue_.at(queue_.now() + rules::kReportInterval, [this, key, number] {
    const auto found = ranged_.find(key);
    if (found == ranged_.end() || found->second.number != number) {
      return;
    }
    // The receiver may stop ranging the region.
    const CLBeaconRegion region = found->second.region;
    report_(key.second, takeReport(found->second), region);
    scheduleReport(key, number);
  });
}

std::vector<CLBeacon> BeaconRanging::takeReport(Ranged& ranged) const {
  forgetSilent(ranged);
  std::vector<CLBeacon> report;
  report.reserve(ranged.beacons.size());
  for (Beacon& beacon : ranged.beacons) {
    report.push_back(reportOf(beacon, ranged.region.uuid));
  }
  return report;
}

void BeaconRanging::forgetSilent(Ranged& ranged) const {
  const std::size_t forgotten = std::erase_if(ranged.beacons, [this](const Beacon& beacon) {
    return queue_.now() - beacon.lastHeard >= rules::kBeaconForgottenAfter;
  });
  if (forgotten == 0) {
    return;
  }
  ranged.indices.clear();
  for (std::size_t index = 0; index < ranged.beacons.size(); ++index) {
    const Beacon& beacon = ranged.beacons[index];
    ranged.indices.emplace(indexKey(beacon.major, beacon.minor), index);
  }
}

CLBeacon BeaconRanging::reportOf(Beacon& beacon, const UUID& uuid) {
  CLBeacon report;
  report.uuid = uuid;
  report.major = beacon.major;
  report.minor = beacon.minor;
  if (beacon.readings > 0) {
    // No radio measures beyond these bounds, but a scenario may say so.
    constexpr double kStrongest = 1e9;
    const double mean = std::clamp(
        std::round(beacon.rssiSum / static_cast<double>(beacon.readings)), -kStrongest, kStrongest);
    report.rssi = static_cast<std::int64_t>(mean);
    report.accuracy = estimateDistance(mean, beacon.measuredPower);
    report.proximity = proximityOf(report.accuracy);
    beacon.rssiSum = 0.0;
    beacon.readings = 0;
  }
  return report;
}

}  // namespace nimbrel
