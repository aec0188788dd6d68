#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The user's permission to use location. The platform may deliver values beyond those named.
enum class CLAuthorizationStatus : std::int64_t {
  notDetermined = 0,
  restricted = 1,
  denied = 2,
  authorizedAlways = 3,
  authorizedWhenInUse = 4,
};

/// The location service's class of a beacon's distance. The platform may deliver values beyond
/// those named.
enum class CLProximity : std::int64_t { unknown = 0, immediate = 1, near = 2, far = 3 };

/// The accuracy that asks for the best there is, in the unit of `setDesiredAccuracy`.
inline constexpr double kCLLocationAccuracyBest = -1.0;

/// A region of the location service. A binding may derive from it, so that a region that came
/// from the platform goes back as the very same object.
struct CLRegion {
  explicit CLRegion(std::string name) : identifier(std::move(name)) {}
  CLRegion(const CLRegion&) = default;
  CLRegion& operator=(const CLRegion&) = default;
  virtual ~CLRegion() = default;

  /// Names the region: a service monitors one region of a name.
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
  /// Received signal strength in dBm; 0 where none was received.
  std::int64_t rssi = 0;
  /// Estimated distance in metres; negative where it cannot be estimated.
  double accuracy = -1.0;
  CLProximity proximity = CLProximity::unknown;
};

class CLLocationManager;

/// Receives what a location manager reports, always on the main thread. References are valid
/// during the call.
class CLLocationManagerDelegate {
 public:
  virtual ~CLLocationManagerDelegate() = default;

  /// The user changed the permission, or was asked and answered.
  virtual void locationManagerDidChangeAuthorization(CLLocationManager& manager,
                                                     CLAuthorizationStatus status) = 0;
  /// The device came into a monitored region.
  virtual void locationManagerDidEnterRegion(CLLocationManager& manager,
                                             const CLRegion& region) = 0;
  /// The device left a monitored region.
  virtual void locationManagerDidExitRegion(CLLocationManager& manager, const CLRegion& region) = 0;
  /// The beacons of a ranged region that are heard now; the list may be empty.
  virtual void locationManagerDidRangeBeacons(CLLocationManager& manager,
                                              const std::vector<CLBeacon>& beacons,
                                              const CLBeaconRegion& region) = 0;
  /// The service as a whole failed.
  virtual void locationManagerDidFailWithError(CLLocationManager& manager,
                                               const NSError& error) = 0;
  /// A region cannot be monitored; null where the service does not say which.
  virtual void locationManagerMonitoringDidFailFor(CLLocationManager& manager,
                                                   const CLRegion* region,
                                                   const NSError& error) = 0;
  /// A region cannot be ranged.
  virtual void locationManagerRangingBeaconsDidFailFor(CLLocationManager& manager,
                                                       const CLBeaconRegion& region,
                                                       const NSError& error) = 0;
};

/// The plug-in's access to the location service. Used on the main thread alone. Nothing that it
/// is asked fails at once: failures come to the delegate.
class CLLocationManager {
 public:
  virtual ~CLLocationManager() = default;

  /// Names the receiver of all reports. It is not kept alive; without one, reports are dropped.
  virtual void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) = 0;
  /// Stores the accuracy asked for, in metres; `kCLLocationAccuracyBest` is negative.
  virtual void setDesiredAccuracy(double accuracy) = 0;
  /// The permission now. Asked on systems from 14.0 on alone.
  [[nodiscard]] virtual CLAuthorizationStatus authorizationStatus() const = 0;
  /// Has the user asked for permission at all times and returns; the answer comes to the delegate.
  virtual void requestAlwaysAuthorization() = 0;
  /// Starts to report entry and exit. A region of the same identifier is replaced.
  virtual void startMonitoringFor(const CLBeaconRegion& region) = 0;
  /// Ends that. Harmless for a region that is not monitored.
  virtual void stopMonitoringFor(const CLBeaconRegion& region) = 0;
  /// Starts to report the beacons of a region time after time.
  virtual void startRangingBeaconsIn(const CLBeaconRegion& region) = 0;
  /// Ends that. Harmless for a region that is not ranged.
  virtual void stopRangingBeaconsIn(const CLBeaconRegion& region) = 0;
  /// All regions being monitored, those of other kinds included, in no particular order.
  [[nodiscard]] virtual std::vector<std::shared_ptr<const CLRegion>> monitoredRegions() const = 0;
};

}  // namespace nimbrel
