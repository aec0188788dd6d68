#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/phone/Request.hpp"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// What lasted for a while during a run, lane by lane: the state of Bluetooth, the permission, and
/// of each region whether the device was inside, whether it was ranged and whether it was refused.
class Lanes {
 public:
  struct Stretch {
    std::string_view state;
    MainQueue::Time from;  // by the run's time
    MainQueue::Time to;
  };

  struct Lane {
    /// "bluetooth", "permission" or "region".
    std::string_view kind;
    std::string name;  // of a region
    /// In the order in which they began; those of a region may overlap.
    std::vector<Stretch> stretches;
    /// Stretches beyond those that are kept.
    std::size_t leftOut = 0;
  };

  static constexpr std::size_t kStretchesAtMost = 1000;

  Lanes();

  void bluetoothChanged(CBManagerState state, MainQueue::Time at);
  void authorizationChanged(CLAuthorizationStatus status, MainQueue::Time at);
  /// Takes what starts and stops the ranging and the monitoring of regions.
  void requested(const Request& request, MainQueue::Time at);
  void crossed(const CLRegion& region, bool isInside, MainQueue::Time at);
  void monitoringFailed(const CLRegion* region, MainQueue::Time at);
  /// The run is over: so is what lasts.
  void end(MainQueue::Time at);

  /// Bluetooth, the permission, and the regions in the order in which they were asked for.
  [[nodiscard]] const std::vector<Lane>& all() const { return lanes_; }

 private:
  Lane& regionNamed(const std::string& name);

  std::vector<Lane> lanes_;
};

}  // namespace nimbrel
