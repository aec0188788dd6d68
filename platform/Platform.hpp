#pragma once

#include <initializer_list>
#include <memory>
#include <string_view>

#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/Dispatch.hpp"
#include "platform/Foundation.hpp"

namespace nimbrel {

/// The one door to the device: all that the plug-in asks of the world, apart from the host
/// framework, begins here. Used on the main thread alone.
class Platform {
 public:
  virtual ~Platform() = default;

  /// A new location manager without a delegate, or null where the device gives none.
  virtual std::unique_ptr<CLLocationManager> makeLocationManager() = 0;

  /// A new central manager that reports to `delegate` on the main queue, its state first. The
  /// delegate is not kept alive. Never null.
  virtual std::unique_ptr<CBCentralManager> makeCentralManager(
      std::weak_ptr<CBCentralManagerDelegate> delegate) = 0;

  /// The location permission as the class of location managers tells it. Asked on systems before
  /// 14.0 alone.
  [[nodiscard]] virtual CLAuthorizationStatus authorizationStatus() const = 0;

  /// The version of the running system.
  [[nodiscard]] virtual OperatingSystemVersion systemVersion() const = 0;

  /// The wall clock, in seconds since 1970-01-01 00:00:00 UTC with fractions.
  [[nodiscard]] virtual double timeIntervalSince1970() const = 0;

  /// Runs `task` later on the main thread, after the tasks queued before it. Returns at once.
  virtual void dispatchMainAsync(DispatchTask task) = 0;

  /// Writes one diagnostic line, put together from `parts` and a newline, to the standard output.
  virtual void print(std::initializer_list<std::string_view> parts) = 0;
};

}  // namespace nimbrel
