#pragma once

#include <initializer_list>
#include <memory>
#include <string_view>

#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/Dispatch.hpp"
#include "platform/Foundation.hpp"

namespace nimbrel {

/// The plug-in's only access to the device, apart from the host framework. Used on the main thread
/// only.
class Platform {
 public:
  virtual ~Platform() = default;

  /// Makes a location manager without a delegate. Returns null if the device has none to give.
  virtual std::unique_ptr<CLLocationManager> makeLocationManager() = 0;

  /// Makes a central manager that reports to `delegate` on the main queue, starting with its state.
  /// The delegate is not kept alive. Never returns null.
  virtual std::unique_ptr<CBCentralManager> makeCentralManager(
      std::weak_ptr<CBCentralManagerDelegate> delegate) = 0;

  /// The location permission by the class-level query, which is deprecated since system version
  /// 14.0.
  [[nodiscard]] virtual CLAuthorizationStatus authorizationStatus() const = 0;

  [[nodiscard]] virtual OperatingSystemVersion systemVersion() const = 0;

  /// The wall clock: seconds since 1970-01-01 00:00:00 UTC, with fractions.
  [[nodiscard]] virtual double timeIntervalSince1970() const = 0;

  /// Queues `task` to run on the main thread, after the tasks queued before it. Returns at once.
  virtual void dispatchMainAsync(DispatchTask task) = 0;

  /// Whether anybody reads what `print` writes. A line that nobody reads need not be made.
  [[nodiscard]] virtual bool hasConsole() const = 0;

  /// Writes one diagnostic line to the standard output: `parts` joined, and a newline.
  virtual void print(std::initializer_list<std::string_view> parts) = 0;
};

}  // namespace nimbrel
