#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// An operation that the plug-in called on the phone.
struct Request {
  struct Scan {
    std::optional<std::vector<UUID>> services;
    CBScanOptions options;
  };

  /// The operation's name.
  std::string_view operation;
  std::optional<CLBeaconRegion> region;
  std::optional<Scan> scan;
};

/// What became of an advertisement in Bluetooth scans.
enum class ScanOutcome : std::uint8_t {
  deaf,       // No scan runs, or Bluetooth is off.
  withheld,   // The phone keeps it from scans.
  coalesced,  // It repeats a discovery of less than a second ago.
  discovered,
};

/// What became of an advertisement in the location service.
enum class RangingOutcome : std::uint8_t {
  deaf,      // Bluetooth is off, or the permission is missing.
  noFrame,   // It carries no iBeacon frame.
  hidden,    // Its frame is hidden behind manufacturer data of the device's other report.
  unranged,  // No region of the frame's UUID is ranged.
  ranged,
};

/// What the phone knows and does about one advertisement. Its views are valid during the call.
struct Reception {
  /// The name that the phone shows for the device.
  std::optional<std::string_view> name;
  /// Of this advertisement alone.
  std::optional<std::span<const std::uint8_t>> manufacturerData;
  /// The frame in that manufacturer data.
  std::optional<BeaconFrame> iBeacon;
  ScanOutcome scan = ScanOutcome::deaf;
  RangingOutcome ranging = RangingOutcome::deaf;
};

/// Observes the plug-in's diagnostic lines and requests, and what the phone does with each
/// advertisement, in the order in which they happen.
class PhoneObserver {
 public:
  virtual ~PhoneObserver() = default;

  /// A diagnostic line, without its newline.
  virtual void logged(std::string_view line) = 0;
  virtual void requested(const Request& request) = 0;

  /// The user or the phone changes the permission or the state of Bluetooth. The plug-in is told
  /// next.
  virtual void authorizationChanged(CLAuthorizationStatus /*status*/) {}
  virtual void bluetoothChanged(CBManagerState /*state*/) {}
  /// The device enters or leaves a monitored region. The plug-in is told next.
  virtual void crossed(const CLRegion& /*region*/, bool /*isInside*/) {}
  /// A region cannot be monitored; null if the service does not say which. The plug-in is told
  /// next.
  virtual void monitoringFailed(const CLRegion* /*region*/) {}

  /// A scan discovers a device. The plug-in is told next.
  virtual void discovered(const CBPeripheral& /*peripheral*/, const CBAdvertisementData& /*data*/) {
  }
  /// Both services have handled an advertisement, and the plug-in has received all that follows
  /// from it.
  virtual void heard(const Reception& /*reception*/) {}
};

}  // namespace nimbrel
