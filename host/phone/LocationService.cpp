#include "host/phone/LocationService.hpp"

#include <algorithm>
#include <utility>

#include "host/phone/Notify.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

/// A location manager, with its delegate.
class LocationService::Manager final : public CLLocationManager {
 public:
  explicit Manager(LocationService& service) : service_(service) {
    service_.managers_.push_back(this);
  }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;
  ~Manager() override {
    service_.ranging_.stopAll(this);
    std::erase(service_.managers_, this);
  }

  [[nodiscard]] std::shared_ptr<CLLocationManagerDelegate> delegate() const {
    return delegate_.lock();
  }

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override {
    delegate_ = std::move(delegate);
  }
  // No effect: nothing here asks for the phone's position.
  void setDesiredAccuracy(double /*accuracy*/) override {}
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override {
    return service_.authorization_;
  }
  void requestAlwaysAuthorization() override { service_.requestAuthorization(); }
  void startMonitoringFor(const CLBeaconRegion& region) override {
    service_.startMonitoring(region);
  }
  void stopMonitoringFor(const CLBeaconRegion& region) override {
    service_.request("stopMonitoring", region);
    service_.monitoring_.stop(region.identifier);
  }
  void startRangingBeaconsIn(const CLBeaconRegion& region) override {
    service_.request("startRangingBeacons", region);
    service_.ranging_.start(this, region);
  }
  void stopRangingBeaconsIn(const CLBeaconRegion& region) override {
    service_.request("stopRangingBeacons", region);
    service_.ranging_.stop(this, region.identifier);
  }
  [[nodiscard]] std::vector<std::shared_ptr<const CLRegion>> monitoredRegions() const override {
    return service_.monitoring_.regions();
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
      promptAnswer_(setup.promptAnswer),
      monitoring_(queue, setup.regionExitDelay,
                  {[this](const CLRegion& region) { reportEntry(region); },
                   [this](const CLRegion& region) { reportExit(region); }}),
      ranging_(queue, [this](const CLLocationManager* manager, const auto& beacons,
                             const CLBeaconRegion& region) {
        notifyDelegates(managers_, [&](auto& delegate, auto& each) {
          if (&each == manager) {
            delegate.locationManagerDidRangeBeacons(each, beacons, region);
          }
        });
      }) {}

LocationService::~LocationService() = default;

std::unique_ptr<CLLocationManager> LocationService::makeManager() {
  return std::make_unique<Manager>(*this);
}

void LocationService::changeAuthorization(CLAuthorizationStatus status) {
  authorization_ = status;
  classAuthorization_ = status;
  observer_.authorizationChanged(status);
  notifyDelegates(managers_, [status](auto& delegate, auto& manager) {
    delegate.locationManagerDidChangeAuthorization(manager, status);
  });
}

void LocationService::requestAuthorization() {
  observer_.requested({"requestAlwaysAuthorization", {}, {}});
  const bool isUndetermined = authorization_ == CLAuthorizationStatus::notDetermined;
  if (!isUndetermined && authorization_ != CLAuthorizationStatus::authorizedWhenInUse) {
    return;
  }
  bool& asked = isUndetermined ? askedForAny_ : askedForMore_;
  if (asked || !promptAnswer_.has_value()) {
    return;
  }
  asked = true;
  queue_.at(queue_.now() + rules::kPromptAnswerDelay, [this] {
    if (authorization_ != *promptAnswer_) {
      changeAuthorization(*promptAnswer_);
    }
  });
}

void LocationService::reportEntry(const CLRegion& region) {
  observer_.crossed(region, true);
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.locationManagerDidEnterRegion(manager, region);
  });
}

void LocationService::reportExit(const CLRegion& region) {
  observer_.crossed(region, false);
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
  observer_.monitoringFailed(region);
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
  if (const CLBeaconRegion* region = ranging_.find(identifier)) {
    return *region;
  }
  if (const CLBeaconRegion* region = monitoring_.find(identifier)) {
    return *region;
  }
  return {UUID{}, identifier};
}

void LocationService::request(std::string_view operation, const CLBeaconRegion& region) {
  observer_.requested({operation, region, {}});
}

void LocationService::startMonitoring(const CLBeaconRegion& region) {
  request("startMonitoring", region);
  if (!monitoring_.start(region)) {
    queue_.async(
        [this, region] { reportMonitoringFailure(&region, {std::string(rules::kRegionRefused)}); });
  }
}

RangingOutcome LocationService::hear(const BeaconFrame& frame, double rssi) {
  if (!isPermitted()) {
    return RangingOutcome::deaf;
  }
  // Entry first: the plug-in may start ranging on entry, and that ranging counts this frame.
  monitoring_.hear(frame.uuid);
  return ranging_.hear(frame, rssi) ? RangingOutcome::ranged : RangingOutcome::unranged;
}

}  // namespace nimbrel
