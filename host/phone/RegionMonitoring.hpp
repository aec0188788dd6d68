#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// The regions that an application monitors. All its location managers share them, as on a phone.
class RegionMonitoring {
 public:
  struct Reports {
    std::function<void(const CLRegion&)> entered;
    std::function<void(const CLRegion&)> left;
  };

  /// The device leaves a region after `exitDelay` of silence. REQUIRES: the queue outlives the
  /// object and runs no task after its end.
  RegionMonitoring(MainQueue& queue, MainQueue::Time exitDelay, Reports reports);

  /// Replaces the region of the same identifier. Returns false if there are too many regions.
  bool start(const CLBeaconRegion& region);
  /// Monitors a region that is no beacon region. Does not check the limit.
  void startForeign(const std::string& identifier);
  /// No effect on a region that is not monitored.
  void stop(const std::string& identifier) { monitored_.erase(identifier); }

  /// In ascending order of their identifiers' code points.
  [[nodiscard]] std::vector<std::shared_ptr<const CLRegion>> regions() const;
  /// Null if no beacon region of that identifier is monitored.
  [[nodiscard]] const CLBeaconRegion* find(const std::string& identifier) const;

  /// Takes a frame of that UUID.
  void hear(const UUID& uuid);

 private:
  struct Monitored {
    std::shared_ptr<const CLRegion> region;
    std::uint64_t number;  // tells it from one that it replaced
    bool isInside = false;
    MainQueue::Time lastHeard{};
  };

  void scheduleExit(const std::string& identifier, std::uint64_t number, MainQueue::Time due);

  MainQueue& queue_;
  MainQueue::Time exitDelay_;
  Reports reports_;
  std::map<std::string, Monitored> monitored_;
  std::uint64_t started_ = 0;
};

}  // namespace nimbrel
