#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The user's permission to use location. The platform may deliver values that have no name here.
enum class CLAuthorizationStatus : std::int64_t {
  notDetermined = 0,
  restricted = 1,
  denied = 2,
  authorizedAlways = 3,
  authorizedWhenInUse = 4,
};

/// How the location service classes a beacon's distance. The platform may deliver values that have
/// no name here.
enum class CLProximity : std::int64_t { unknown = 0, immediate = 1, near = 2, far = 3 };

/// The value of `setDesiredAccuracy` that asks for the best accuracy available.
inline constexpr double kCLLocationAccuracyBest = -1.0;

/// A region of the location service. A binding may derive from it to hand a region of the platform
/// back as the same object.
struct CLRegion {
  explicit CLRegion(std::string name) : identifier(std::move(name)) {}
  CLRegion(const CLRegion&) = default;
  CLRegion& operator=(const CLRegion&) = default;
  virtual ~CLRegion() = default;

  /// The region's name. The service monitors one region of each name.
  std::string identifier;
};

/// The region of every beacon that sends one proximity UUID, whatever its major and minor.
struct CLBeaconRegion : CLRegion {
  CLBeaconRegion(const UUID& proximityUuid, std::string name)
      : CLRegion(std::move(name)), uuid(proximityUuid) {}

  UUID uuid;
  bool notifyOnEntry = true;
  bool notifyOnExit = true;
  bool notifyEntryStateOnDisplay = false;
};

/// One beacon of a ranging report.
struct CLBeacon {
  UUID uuid;
  std::int64_t major = 0;
  std::int64_t minor = 0;
  /// Received signal strength in dBm; 0 if the beacon was not heard since the last report.
  std::int64_t rssi = 0;
  /// Estimated distance in metres; negative if there is no estimate.
  double accuracy = -1.0;
  CLProximity proximity = CLProximity::unknown;
};

class CLLocationManager;

/// Receives what a location manager reports, always on the main thread. References are valid
/// during the call.
class CLLocationManagerDelegate {
 public:
  virtual ~CLLocationManagerDelegate() = default;

  /// The permission changed. The platform may also report it without a change.
  virtual void locationManagerDidChangeAuthorization(CLLocationManager& manager,
                                                     CLAuthorizationStatus status) = 0;
  /// The device entered a monitored region.
  virtual void locationManagerDidEnterRegion(CLLocationManager& manager,
                                             const CLRegion& region) = 0;
  /// The device left a monitored region.
  virtual void locationManagerDidExitRegion(CLLocationManager& manager, const CLRegion& region) = 0;
  /// The beacons that the service currently hears in a ranged region; the list may be empty.
  virtual void locationManagerDidRangeBeacons(CLLocationManager& manager,
                                              const std::vector<CLBeacon>& beacons,
                                              const CLBeaconRegion& region) = 0;
  /// The location service failed.
  virtual void locationManagerDidFailWithError(CLLocationManager& manager,
                                               const NSError& error) = 0;
  /// A region cannot be monitored. `region` is null if the service does not say which.
  virtual void locationManagerMonitoringDidFailFor(CLLocationManager& manager,
                                                   const CLRegion* region,
                                                   const NSError& error) = 0;
  /// A region cannot be ranged.
  virtual void locationManagerRangingBeaconsDidFailFor(CLLocationManager& manager,
                                                       const CLBeaconRegion& region,
                                                       const NSError& error) = 0;
};

/// The plug-in's access to the location service. Used on the main thread only. Requests do not
/// fail directly: failures are reported to the delegate.
class CLLocationManager {
 public:
  virtual ~CLLocationManager() = default;

  /// Sets the receiver of all reports. It is not kept alive. Without one, reports are dropped.
  virtual void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) = 0;
  /// Stores the accuracy to aim for, in metres, or `kCLLocationAccuracyBest`.
  virtual void setDesiredAccuracy(double accuracy) = 0;
  /// The current permission. REQUIRES: the system version is 14.0 or later.
  [[nodiscard]] virtual CLAuthorizationStatus authorizationStatus() const = 0;
  /// Has the platform ask the user for permission at all times. Returns at once; a change of the
  /// permission is reported to the delegate, possibly before this returns.
  virtual void requestAlwaysAuthorization() = 0;
  /// Starts to report entry and exit. Replaces a monitored region of the same identifier.
  virtual void startMonitoringFor(const CLBeaconRegion& region) = 0;
  /// Stops monitoring; no effect on a region that is not monitored.
  virtual void stopMonitoringFor(const CLBeaconRegion& region) = 0;
  /// Starts to report the beacons of a region, about once a second.
  virtual void startRangingBeaconsIn(const CLBeaconRegion& region) = 0;
  /// Stops ranging; no effect on a region that is not ranged.
  virtual void stopRangingBeaconsIn(const CLBeaconRegion& region) = 0;
  /// All monitored regions, including those of other kinds, in no particular order.
  [[nodiscard]] virtual std::vector<std::shared_ptr<const CLRegion>> monitoredRegions() const = 0;
};

}  // namespace nimbrel
