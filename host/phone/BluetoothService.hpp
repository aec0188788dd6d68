#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/phone/Device.hpp"
#include "host/phone/Request.hpp"
#include "platform/CoreBluetooth.hpp"

namespace nimbrel {

/// The phone's Bluetooth: its state, the scans, and the discoveries that they lead to.
class BluetoothService {
 public:
  /// Requests are reported to `observer`. REQUIRES: queue and observer outlive the service, and the
  /// queue runs no task once the service is gone.
  BluetoothService(CBManagerState state, MainQueue& queue, PhoneObserver& observer);
  BluetoothService(const BluetoothService&) = delete;
  BluetoothService& operator=(const BluetoothService&) = delete;
  ~BluetoothService();

  // For the plug-in

  /// The manager has a scan of its own. REQUIRES: the service outlives it.
  std::unique_ptr<CBCentralManager> makeManager(std::weak_ptr<CBCentralManagerDelegate> delegate);

  // Controls: each makes the callback that it names, in the delegate of every manager

  [[nodiscard]] CBManagerState state() const { return state_; }
  void changeState(CBManagerState state);
  /// Whether a scan runs or not.
  void discover(const CBPeripheral& peripheral, const CBAdvertisementData& data, double rssi);

  // The air

  /// Whether a scan runs with Bluetooth on.
  [[nodiscard]] bool isListening() const;

  /// A device is heard, and scans see `manufacturerData` of it. Every running scan discovers it,
  /// unless it is unchanged and was discovered within the last second.
  ScanOutcome hear(const DeviceAddress& address, Device& device,
                   std::optional<Device::Bytes> manufacturerData, double rssi);

 private:
  class Manager;

  MainQueue& queue_;
  PhoneObserver& observer_;
  CBManagerState state_;
  std::vector<Manager*> managers_;
  CBPeripheral peripheral_;  // the one being discovered; keeps the memory of its name
};

/// The identifier of a device as this phone's applications know it: a UUID of version 8 (RFC 9562,
/// section 5.8) that ends in the device's address, so that a reader recognises it.
UUID peripheralIdentifier(const DeviceAddress& address);

}  // namespace nimbrel
