#include "host/phone/LocationService.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Classes/bluetooth/DistanceEstimate.hpp"
#include "Classes/model/DetectionEvent.hpp"
#include "host/phone/Notify.hpp"

namespace nimbrel {

namespace {

constexpr std::size_t kMonitoredRegionsAtMost = 20;
constexpr MainQueue::Time kReportInterval = std::chrono::seconds(1);
constexpr MainQueue::Time kForgottenAfter = std::chrono::seconds(10);

std::uint32_t placeKey(std::uint16_t major, std::uint16_t minor) {
  return std::uint32_t{major} << 16U | minor;
}

const CLBeaconRegion* asBeaconRegion(const std::shared_ptr<const CLRegion>& region) {
  return dynamic_cast<const CLBeaconRegion*>(region.get());
}

}  // namespace

/// The service as one holder of a location manager sees it.
class LocationService::Manager final : public CLLocationManager {
 public:
  explicit Manager(LocationService& service) : service_(service) {
    service_.managers_.push_back(this);
  }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;
  ~Manager() override { std::erase(service_.managers_, this); }

  [[nodiscard]] std::shared_ptr<CLLocationManagerDelegate> delegate() const {
    return delegate_.lock();
  }

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  // Every accuracy is as good as another here: nobody asks the service where the device is.
  void setDesiredAccuracy(double /*accuracy*/) override {}
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override {
    return service_.authorization_;
  }
  void requestAlwaysAuthorization() override {
    service_.observer_.requested({"requestAlwaysAuthorization", {}, {}});
  }
  void startMonitoringFor(const CLBeaconRegion& region) override {
    service_.startMonitoring(region);
  }
  void stopMonitoringFor(const CLBeaconRegion& region) override { service_.stopMonitoring(region); }
  void startRangingBeaconsIn(const CLBeaconRegion& region) override {
    service_.startRanging(region);
  }
  void stopRangingBeaconsIn(const CLBeaconRegion& region) override { service_.stopRanging(region); }
  [[nodiscard]] std::vector<std::shared_ptr<const CLRegion>> monitoredRegions() const override {
    std::vector<std::shared_ptr<const CLRegion>> regions;
    for (const auto& [identifier, monitored] : service_.monitored_) {
      regions.push_back(monitored.region);
    }
    return regions;
  }

 private:
  LocationService& service_;
  std::weak_ptr<CLLocationManagerDelegate> delegate_;
};

LocationService::LocationService(const Setup& setup, MainQueue& queue, PhoneObserver& observer)
    : queue_(queue),
      observer_(observer),
      authorization_(setup.authorization),
      classAuthorization_(setup.classAuthorization),
      regionExitDelay_(setup.regionExitDelay) {}

LocationService::~LocationService() = default;

std::unique_ptr<CLLocationManager> LocationService::makeManager() {
  return std::make_unique<Manager>(*this);
}

void LocationService::changeAuthorization(CLAuthorizationStatus status) {
  authorization_ = status;
  classAuthorization_ = status;
  notifyDelegates(managers_, [status](auto& delegate, auto& manager) {
    delegate.locationManagerDidChangeAuthorization(manager, status);
  });
}

void LocationService::reportEntry(const CLRegion& region) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerDidEnterRegion(manager, region);
  });
}

void LocationService::reportExit(const CLRegion& region) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerDidExitRegion(manager, region);
  });
}

void LocationService::reportRanging(const std::vector<CLBeacon>& beacons,
                                    const CLBeaconRegion& region) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerDidRangeBeacons(manager, beacons, region);
  });
}

void LocationService::reportFailure(const NSError& error) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerDidFailWithError(manager, error);
  });
}

void LocationService::reportMonitoringFailure(const CLRegion* region, const NSError& error) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerMonitoringDidFailFor(manager, region, error);
  });
}

void LocationService::reportRangingFailure(const CLBeaconRegion& region, const NSError& error) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerRangingBeaconsDidFailFor(manager, region, error);
  });
}

CLBeaconRegion LocationService::regionNamed(const std::string& identifier) const {
  if (const auto found = ranged_.find(identifier); found != ranged_.end()) {
    return found->second.region;
  }
  if (const auto found = monitored_.find(identifier); found != monitored_.end()) {
    if (const CLBeaconRegion* region = asBeaconRegion(found->second.region)) {
      return *region;
    }
  }
  return {UUID{}, identifier};
}

void LocationService::monitorForeignRegion(const std::string& identifier) {
  monitored_.insert_or_assign(identifier,
                              Monitored{std::make_shared<CLRegion>(identifier), ++regionsMade_});
}

void LocationService::request(std::string_view operation, const CLBeaconRegion& region) {
  observer_.requested({operation, region, {}});
}

void LocationService::startMonitoring(const CLBeaconRegion& region) {
  request("startMonitoring", region);
  if (monitored_.size() >= kMonitoredRegionsAtMost && !monitored_.contains(region.identifier)) {
    queue_.async([this, region] {
      reportMonitoringFailure(&region,
                              {"The operation couldn’t be completed. (kCLErrorDomain error 5.)"});
    });
    return;
  }
  monitored_.insert_or_assign(region.identifier,
                              Monitored{std::make_shared<CLBeaconRegion>(region), ++regionsMade_});
}

void LocationService::stopMonitoring(const CLBeaconRegion& region) {
  request("stopMonitoring", region);
  monitored_.erase(region.identifier);
}

void LocationService::startRanging(const CLBeaconRegion& region) {
  request("startRangingBeacons", region);
  const auto running = ranged_.find(region.identifier);
  if (running != ranged_.end() && running->second.region.uuid == region.uuid) {
    return;
  }
  const std::uint64_t number = ++regionsMade_;
  ranged_.insert_or_assign(region.identifier, Ranged{region, number, {}, {}});
  scheduleReport(region.identifier, number);
}

void LocationService::stopRanging(const CLBeaconRegion& region) {
  request("stopRangingBeacons", region);
  ranged_.erase(region.identifier);
}

void LocationService::hear(const BeaconFrame& frame, double rssi) {
  if (authorization_ != CLAuthorizationStatus::authorizedAlways &&
      authorization_ != CLAuthorizationStatus::authorizedWhenInUse) {
    return;
  }
  // Entry first: the ranging that it brings about hears this very frame.
  noteEntry(frame.uuid);
  for (auto& [identifier, ranged] : ranged_) {
    if (ranged.region.uuid != frame.uuid) {
      continue;
    }
    const auto [place, isNew] =
        ranged.places.try_emplace(placeKey(frame.major, frame.minor), ranged.beacons.size());
    if (isNew) {
      ranged.beacons.push_back({frame.major, frame.minor, frame.measuredPower});
    }
    Heard& beacon = ranged.beacons[place->second];
    beacon.measuredPower = frame.measuredPower;
    beacon.rssiSum += rssi;
    ++beacon.frames;
    beacon.lastHeard = queue_.now();
  }
}

void LocationService::noteEntry(const UUID& uuid) {
  std::vector<std::shared_ptr<const CLRegion>> entered;
  for (auto& [identifier, monitored] : monitored_) {
    const CLBeaconRegion* region = asBeaconRegion(monitored.region);
    if (region == nullptr || region->uuid != uuid) {
      continue;
    }
    monitored.lastHeard = queue_.now();
    if (!monitored.isInside) {
      monitored.isInside = true;
      scheduleExit(identifier, monitored.number, queue_.now() + regionExitDelay_);
      entered.push_back(monitored.region);
    }
  }
  for (const auto& region : entered) {
    reportEntry(*region);
  }
}

void LocationService::scheduleExit(const std::string& identifier, std::uint64_t number,
                                   MainQueue::Time due) {
  queue_.at(due, [this, identifier, number] {
    const auto found = monitored_.find(identifier);
    if (found == monitored_.end() || found->second.number != number) {
      return;
    }
    const MainQueue::Time silentUntil = found->second.lastHeard + regionExitDelay_;
    if (silentUntil > queue_.now()) {
      scheduleExit(identifier, number, silentUntil);
      return;
    }
    found->second.isInside = false;
    const std::shared_ptr<const CLRegion> region = found->second.region;
    reportExit(*region);
  });
}

void LocationService::scheduleReport(const std::string& identifier, std::uint64_t number) {
  queue_.at(queue_.now() + kReportInterval, [this, identifier, number] {
    const auto found = ranged_.find(identifier);
    if (found == ranged_.end() || found->second.number != number) {
      return;
    }
    const CLBeaconRegion region = found->second.region;
    reportRanging(takeReport(found->second), region);
    scheduleReport(identifier, number);
  });
}

std::vector<CLBeacon> LocationService::takeReport(Ranged& ranged) const {
  const std::size_t forgotten = std::erase_if(ranged.beacons, [this](const Heard& beacon) {
    return queue_.now() - beacon.lastHeard >= kForgottenAfter;
  });
  if (forgotten > 0) {
    ranged.places.clear();
    for (std::size_t index = 0; index < ranged.beacons.size(); ++index) {
      const Heard& beacon = ranged.beacons[index];
      ranged.places.emplace(placeKey(beacon.major, beacon.minor), index);
    }
  }
  std::vector<CLBeacon> report;
  report.reserve(ranged.beacons.size());
  for (Heard& beacon : ranged.beacons) {
    CLBeacon& entry = report.emplace_back();
    entry.uuid = ranged.region.uuid;
    entry.major = beacon.major;
    entry.minor = beacon.minor;
    if (beacon.frames > 0) {
      // No radio measures beyond these bounds, but a scenario may say so.
      constexpr double strongest = 1e9;
      const double mean = std::clamp(
          std::round(beacon.rssiSum / static_cast<double>(beacon.frames)), -strongest, strongest);
      entry.rssi = static_cast<std::int64_t>(mean);
      entry.accuracy = estimateDistance(mean, beacon.measuredPower);
      entry.proximity = proximityOf(entry.accuracy);
      beacon.rssiSum = 0.0;
      beacon.frames = 0;
    }
  }
  return report;
}

}  // namespace nimbrel
