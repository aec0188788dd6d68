#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The state of Bluetooth on the device. The platform may deliver values that have no name here.
enum class CBManagerState : std::int64_t {
  unknown = 0,
  resetting = 1,
  unsupported = 2,
  unauthorized = 3,
  poweredOff = 4,
  poweredOn = 5,
};

/// A device that advertises.
struct CBPeripheral {
  /// Assigned by the platform; the same each time the device is heard.
  UUID identifier;
  /// The advertised name in UTF-8.
  std::optional<std::string> name;
};

/// The entries of an advertisement that the plug-in reads.
struct CBAdvertisementData {
  /// An entry that is present but is not a byte buffer.
  struct NotBytes {};

  /// The entry under `CBAdvertisementDataManufacturerDataKey`: absent, bytes that start with the
  /// company identifier (little-endian; valid during the call), or a value of another kind.
  /// Source: Bluetooth Core Specification Supplement, part A, section 1.4.
  std::variant<std::monostate, std::span<const std::uint8_t>, NotBytes> manufacturerData;
};

/// The options of a scan.
struct CBScanOptions {
  /// `CBCentralManagerScanOptionAllowDuplicatesKey`: true reports each advertisement of a device,
  /// false coalesces repeats.
  bool allowDuplicates = false;
};

class CBCentralManager;

/// Receives what a central manager reports, always on the main thread. References are valid
/// during the call.
class CBCentralManagerDelegate {
 public:
  virtual ~CBCentralManagerDelegate() = default;

  /// The state changed. Also called once soon after the manager was made.
  virtual void centralManagerDidUpdateState(CBCentralManager& central) = 0;
  /// A device was heard. `rssi` is the signal strength in dBm; 127 means that it is not known.
  virtual void centralManagerDidDiscover(CBCentralManager& central, const CBPeripheral& peripheral,
                                         const CBAdvertisementData& advertisementData,
                                         double rssi) = 0;
};

/// The plug-in's access to Bluetooth. Used on the main thread only.
class CBCentralManager {
 public:
  virtual ~CBCentralManager() = default;

  [[nodiscard]] virtual CBManagerState state() const = 0;
  /// Starts a scan, or restarts the running one with these settings. `services` limits it to
  /// devices that advertise one of these; absent reports every device. Nothing is reported while
  /// Bluetooth is off, and a scan may not survive that: ask again when it is back on.
  /// REQUIRES: `state()` is `poweredOn`; the platform ignores the request in any other state.
  virtual void scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                                  const CBScanOptions& options) = 0;
  /// Stops the scan, in any state; no effect if none runs.
  virtual void stopScan() = 0;
};

}  // namespace nimbrel
