#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// Something that the plug-in asked of the phone.
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

/// What a Bluetooth scan did with an advertisement.
enum class ScanOutcome : std::uint8_t {
  deaf,       // No scan runs, or Bluetooth is off.
  withheld,   // The phone keeps it from scans.
  coalesced,  // It repeats what the application was told less than a second ago.
  discovered,
};

/// What the location service did with an advertisement.
enum class RangingOutcome : std::uint8_t {
  deaf,      // Bluetooth is off, or the permission is missing.
  noFrame,   // It carries no iBeacon frame.
  hidden,    // Its frame is hidden behind manufacturer data of the device's other report.
  unranged,  // No region of the frame's UUID is ranged.
  ranged,
};

/// Follows what the plug-in says and asks, and what the phone makes of the air, in the order in
/// which it happens.
class PhoneObserver {
 public:
  virtual ~PhoneObserver() = default;

  /// A diagnostic line, without its newline.
  virtual void logged(std::string_view line) = 0;
  virtual void requested(const Request& request) = 0;

  /// A scan discovers a device. The plug-in is told the same next.
  virtual void discovered(const CBPeripheral& /*peripheral*/, const CBAdvertisementData& /*data*/) {
  }
  /// Both services are done with an advertisement; the plug-in was told all that follows from it.
  /// `name` is what the phone knows the device by; valid during the call.
  virtual void heard(std::optional<std::string_view> /*name*/, ScanOutcome /*scan*/,
                     RangingOutcome /*ranging*/) {}
};

}  // namespace nimbrel
