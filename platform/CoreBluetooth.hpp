#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The state of Bluetooth on the device. The platform may deliver values beyond those named.
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
  /// Made by the platform; the same for every sighting of one device.
  UUID identifier;
  /// The advertised name in UTF-8.
  std::optional<std::string> name;
};

/// The entries of an advertisement that the plug-in reads.
struct CBAdvertisementData {
  /// An entry that is present but holds something else than bytes.
  struct NotBytes {};

  /// The entry under `CBAdvertisementDataManufacturerDataKey`: absent, bytes (company identifier
  /// first, little-endian; valid during the call), or a value of another kind.
  /// Source: Bluetooth Core Specification Supplement, part A, section 1.4.
  std::variant<std::monostate, std::span<const std::uint8_t>, NotBytes> manufacturerData;
};

/// The options of a scan.
struct CBScanOptions {
  /// `CBCentralManagerScanOptionAllowDuplicatesKey`: report each advertisement of a device instead
  /// of coalescing repeats.
  bool allowDuplicates = false;
};

class CBCentralManager;

/// Receives what a central manager reports, always on the main thread. References are valid
/// during the call.
class CBCentralManagerDelegate {
 public:
  virtual ~CBCentralManagerDelegate() = default;

  /// The state changed; also called once soon after the manager was made.
  virtual void centralManagerDidUpdateState(CBCentralManager& central) = 0;
  /// A device was heard. `rssi` is the signal strength in dBm, 127 where the radio had none.
  virtual void centralManagerDidDiscover(CBCentralManager& central, const CBPeripheral& peripheral,
                                         const CBAdvertisementData& advertisementData,
                                         double rssi) = 0;
};

/// The plug-in's access to Bluetooth. Used on the main thread alone.
class CBCentralManager {
 public:
  virtual ~CBCentralManager() = default;

  [[nodiscard]] virtual CBManagerState state() const = 0;
  /// Starts a scan, or restarts the running one with these settings. `services` limits it to
  /// devices that advertise one of these; absent, every device is reported.
  virtual void scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                                  const CBScanOptions& options) = 0;
  /// Ends the scan. Harmless when none runs.
  virtual void stopScan() = 0;
};

}  // namespace nimbrel
