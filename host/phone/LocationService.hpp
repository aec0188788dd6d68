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
    /// The class-level query's answer until the user changes the permission.
    CLAuthorizationStatus classAuthorization = CLAuthorizationStatus::authorizedAlways;
    /// The device leaves a region after this much silence.
    MainQueue::Time regionExitDelay = rules::kRegionExitDelay;
    /// The user's answer when the system asks for permission; absent: the user does not answer.
    std::optional<CLAuthorizationStatus> promptAnswer;
  };

  /// Requests are reported to `observer`. REQUIRES: queue and observer outlive the service, and the
  /// queue runs no task after the service's end.
  LocationService(const Setup& setup, MainQueue& queue, PhoneObserver& observer);
  LocationService(const LocationService&) = delete;
  LocationService& operator=(const LocationService&) = delete;
  ~LocationService();

  // For the plug-in

  /// REQUIRES: the service outlives the manager.
  std::unique_ptr<CLLocationManager> makeManager();
  [[nodiscard]] CLAuthorizationStatus classAuthorization() const { return classAuthorization_; }

  // Controls: each calls the delegate of every manager

  /// The user changes the permission.
  void changeAuthorization(CLAuthorizationStatus status);
  void reportEntry(const CLRegion& region);
  void reportExit(const CLRegion& region);
  void reportRanging(const std::vector<CLBeacon>& beacons, const CLBeaconRegion& region);
  void reportFailure(const NSError& error);
  void reportMonitoringFailure(const CLRegion* region, const NSError& error);
  void reportRangingFailure(const CLBeaconRegion& region, const NSError& error);

  /// The ranged or monitored region of that identifier, or else a new one with a UUID of zeros.
  [[nodiscard]] CLBeaconRegion regionNamed(const std::string& identifier) const;
  /// Monitors a region that is no beacon region, as another part of an application may.
  void monitorForeignRegion(const std::string& identifier) { monitoring_.startForeign(identifier); }
  [[nodiscard]] CLAuthorizationStatus authorization() const { return authorization_; }
  /// Whether the permission allows the application to monitor and range beacons.
  [[nodiscard]] bool isPermitted() const {
    return authorization_ == CLAuthorizationStatus::authorizedAlways ||
           authorization_ == CLAuthorizationStatus::authorizedWhenInUse;
  }

  // The air

  /// Takes an iBeacon frame that the phone received. Without permission it has no effect.
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
  // Whether the system asked the user while the permission was not determined, and while in use.
  bool askedForAny_ = false;
  bool askedForMore_ = false;
  std::vector<Manager*> managers_;
  RegionMonitoring monitoring_;
  BeaconRanging ranging_;
};

}  // namespace nimbrel
