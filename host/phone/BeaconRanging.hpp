#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/base/MainQueue.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// The regions that location managers range, and the beacons heard in them. Each manager has its
/// own regions.
class BeaconRanging {
 public:
  /// Receives the report of one region that `manager` ranges.
  using ReportHandler =
      std::function<void(const CLLocationManager* manager, const std::vector<CLBeacon>& beacons,
                         const CLBeaconRegion& region)>;

  /// REQUIRES: the queue outlives the object and runs no task after its end.
  BeaconRanging(MainQueue& queue, ReportHandler report);

  /// Ranges a region: one report a second, the first after one second. Replaces the manager's
  /// region of the same identifier, unless that has the same UUID.
  void start(const CLLocationManager* manager, const CLBeaconRegion& region);
  /// No effect on a region that is not ranged.
  void stop(const CLLocationManager* manager, const std::string& identifier);
  void stopAll(const CLLocationManager* manager);

  /// A region of that identifier that any manager ranges, or null.
  [[nodiscard]] const CLBeaconRegion* find(const std::string& identifier) const;

  /// Takes a frame that the phone received. Returns whether a region of its UUID is ranged.
  bool hear(const BeaconFrame& frame, double rssi);

 private:
  /// A beacon of a ranged region.
  struct Beacon {
    std::uint16_t major;
    std::uint16_t minor;
    std::int8_t measuredPower = 0;
    double rssiSum = 0.0;  // of the readings since the last report
    std::int64_t readings = 0;
    MainQueue::Time lastHeard{};
  };

  struct Ranged {
    CLBeaconRegion region;
    std::uint64_t number;                                    // tells it from one that it replaced
    std::vector<Beacon> beacons;                             // in the order of their first frames
    std::unordered_map<std::uint32_t, std::size_t> indices;  // by major and minor
  };

  using Key = std::pair<std::string, const CLLocationManager*>;

  static Beacon& beaconOf(Ranged& ranged, const BeaconFrame& frame);
  static CLBeacon reportOf(Beacon& beacon, const UUID& uuid);
  void scheduleReport(const Key& key, std::uint64_t number);
  std::vector<CLBeacon> takeReport(Ranged& ranged) const;
  void forgetSilent(Ranged& ranged) const;

  MainQueue& queue_;
  ReportHandler report_;
  std::map<Key, Ranged> ranged_;  // walked in the order of the identifiers' code points
  std::uint64_t started_ = 0;
};

}  // namespace nimbrel
