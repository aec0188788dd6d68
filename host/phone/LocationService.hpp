#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/base/MainQueue.hpp"
#include "host/phone/BeaconRanging.hpp"
#include "host/phone/RegionMonitoring.hpp"
#include "host/phone/Request.hpp"
#include "host/phone/Rules.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// The phone's location service: the permission, its managers, and what they monitor and range.
class LocationService {
 public:
  struct Setup {
    CLAuthorizationStatus authorization = CLAuthorizationStatus::authorizedAlways;
    /// What the class-level query answers, until the user changes the permission.
    CLAuthorizationStatus classAuthorization = CLAuthorizationStatus::authorizedAlways;
    /// How long a region is silent before the device counts as gone from it.
    MainQueue::Time regionExitDelay = rules::kRegionExitDelay;
    /// What the user answers when the system asks for permission; absent: nothing.
    std::optional<CLAuthorizationStatus> promptAnswer;
  };

  /// Requests are reported to `observer`. REQUIRES: queue and observer outlive the service, and the
  /// queue runs no task once the service is gone.
  LocationService(const Setup& setup, MainQueue& queue, PhoneObserver& observer);
  LocationService(const LocationService&) = delete;
  LocationService& operator=(const LocationService&) = delete;
  ~LocationService();

  // For the plug-in

  /// REQUIRES: the service outlives the manager.
  std::unique_ptr<CLLocationManager> makeManager();
  [[nodiscard]] CLAuthorizationStatus classAuthorization() const { return classAuthorization_; }

  // Controls: each makes the callback that it names, in the delegate of every manager

  /// The user changes the permission.
  void changeAuthorization(CLAuthorizationStatus status);
  void reportEntry(const CLRegion& region);
  void reportExit(const CLRegion& region);
  void reportRanging(const std::vector<CLBeacon>& beacons, const CLBeaconRegion& region);
  void reportFailure(const NSError& error);
  void reportMonitoringFailure(const CLRegion* region, const NSError& error);
  void reportRangingFailure(const CLBeaconRegion& region, const NSError& error);

  /// The region of that identifier that is ranged or monitored, or a new one whose UUID is zero.
  [[nodiscard]] CLBeaconRegion regionNamed(const std::string& identifier) const;
  /// Monitors a region of another kind, as another part of an application may ask for.
  void monitorForeignRegion(const std::string& identifier) { monitoring_.startForeign(identifier); }
  /// Whether the permission lets the service hear beacons.
  [[nodiscard]] bool isPermitted() const {
    return authorization_ == CLAuthorizationStatus::authorizedAlways ||
           authorization_ == CLAuthorizationStatus::authorizedWhenInUse;
  }

  // The air

  /// An iBeacon frame is received. Without permission it has no effect.
  RangingOutcome hear(const BeaconFrame& frame, double rssi);

 private:
  class Manager;

  void requestAuthorization();
  void request(std::string_view operation, const CLBeaconRegion& region);
  void startMonitoring(const CLBeaconRegion& region);

  MainQueue& queue_;
  PhoneObserver& observer_;
  CLAuthorizationStatus authorization_;
  CLAuthorizationStatus classAuthorization_;
  std::optional<CLAuthorizationStatus> promptAnswer_;
  // Whether the system has asked the user, without any permission and with permission in use.
  bool askedForAny_ = false;
  bool askedForMore_ = false;
  std::vector<Manager*> managers_;
  RegionMonitoring monitoring_;
  BeaconRanging ranging_;
};

}  // namespace nimbrel
