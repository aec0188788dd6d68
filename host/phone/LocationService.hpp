#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Classes/bluetooth/AdvertisementDecoding.hpp"
#include "host/phone/MainQueue.hpp"
#include "host/phone/Request.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// The phone's location service: the permission, the monitored and the ranged regions, and the
/// reports that they give rise to.
class LocationService {
 public:
  struct Setup {
    CLAuthorizationStatus authorization = CLAuthorizationStatus::authorizedAlways;
    /// What the class-level query answers, until the user changes the permission.
    CLAuthorizationStatus classAuthorization = CLAuthorizationStatus::authorizedAlways;
    /// How long a region is silent before the device counts as gone from it.
    MainQueue::Time regionExitDelay = std::chrono::seconds(30);
  };

  /// The service reports to `observer` what it is asked. All three outlive it.
  LocationService(const Setup& setup, MainQueue& queue, PhoneObserver& observer);
  LocationService(const LocationService&) = delete;
  LocationService& operator=(const LocationService&) = delete;
  ~LocationService();

  // The plug-in's end

  std::unique_ptr<CLLocationManager> makeManager();
  [[nodiscard]] CLAuthorizationStatus classAuthorization() const { return classAuthorization_; }

  // Controls: each makes the one callback that it names, in every manager's delegate

  /// The user changes the permission.
  void changeAuthorization(CLAuthorizationStatus status);
  void reportEntry(const CLRegion& region);
  void reportExit(const CLRegion& region);
  void reportRanging(const std::vector<CLBeacon>& beacons, const CLBeaconRegion& region);
  void reportFailure(const NSError& error);
  void reportMonitoringFailure(const CLRegion* region, const NSError& error);
  void reportRangingFailure(const CLBeaconRegion& region, const NSError& error);

  /// The region of that name as the service knows it, or a new one of no UUID.
  [[nodiscard]] CLBeaconRegion regionNamed(const std::string& identifier) const;
  /// Monitors a region of another kind, as another part of an application may ask for.
  void monitorForeignRegion(const std::string& identifier);
  [[nodiscard]] bool isRanging(const std::string& identifier) const {
    return ranged_.contains(identifier);
  }

  // The air

  /// An iBeacon frame is received. Without permission the service does not hear it.
  void hear(const BeaconFrame& frame, double rssi);

 private:
  class Manager;

  struct Monitored {
    std::shared_ptr<const CLRegion> region;
    std::uint64_t number;
    bool isInside = false;
    MainQueue::Time lastHeard{};
  };

  /// One beacon of a ranged region, from its first frame to its long silence.
  struct Heard {
    std::uint16_t major;
    std::uint16_t minor;
    std::int8_t measuredPower;
    double rssiSum = 0.0;  // of the frames since the last report
    std::int64_t frames = 0;
    MainQueue::Time lastHeard{};
  };

  struct Ranged {
    CLBeaconRegion region;
    std::uint64_t number;
    std::vector<Heard> beacons;                             // in the order of their first frames
    std::unordered_map<std::uint32_t, std::size_t> places;  // by major and minor
  };

  void request(std::string_view operation, const CLBeaconRegion& region);
  void startMonitoring(const CLBeaconRegion& region);
  void stopMonitoring(const CLBeaconRegion& region);
  void startRanging(const CLBeaconRegion& region);
  void stopRanging(const CLBeaconRegion& region);
  void noteEntry(const UUID& uuid);
  void scheduleExit(const std::string& identifier, std::uint64_t number, MainQueue::Time due);
  void scheduleReport(const std::string& identifier, std::uint64_t number);
  std::vector<CLBeacon> takeReport(Ranged& ranged) const;

  MainQueue& queue_;
  PhoneObserver& observer_;
  CLAuthorizationStatus authorization_;
  CLAuthorizationStatus classAuthorization_;
  MainQueue::Time regionExitDelay_;
  std::vector<Manager*> managers_;
  // Ordered maps, so that regions are walked in the order of their identifiers' code points.
  std::map<std::string, Monitored> monitored_;
  std::map<std::string, Ranged> ranged_;
  std::uint64_t regionsMade_ = 0;  // numbers each region, so that a timer knows the one it is for
};

}  // namespace nimbrel
