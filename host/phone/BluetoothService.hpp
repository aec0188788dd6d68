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

/// The phone's Bluetooth: its state, its scans and their discoveries.
class BluetoothService {
 public:
  /// Requests are reported to `observer`. REQUIRES: queue and observer outlive the service, and the
  /// queue runs no task after the service's end.
  BluetoothService(CBManagerState state, MainQueue& queue, PhoneObserver& observer);
  BluetoothService(const BluetoothService&) = delete;
  BluetoothService& operator=(const BluetoothService&) = delete;
  ~BluetoothService();

  // For the plug-in

  /// The manager has a scan of its own. REQUIRES: the service outlives it.
  std::unique_ptr<CBCentralManager> makeManager(std::weak_ptr<CBCentralManagerDelegate> delegate);

  // Controls: each calls the delegate of every manager

  [[nodiscard]] CBManagerState state() const { return state_; }
  void changeState(CBManagerState state);
  /// Works with and without a running scan.
  void discover(const CBPeripheral& peripheral, const CBAdvertisementData& data, double rssi);

  // The air

  /// Whether Bluetooth is on and a scan runs.
  [[nodiscard]] bool isListening() const;

  /// What a running scan makes of a device that the phone received: it discovers the device, unless
  /// that is unchanged and was discovered within the last second.
  ScanOutcome hear(Device& device) const;

  /// Every running scan discovers a device, of which it sees `manufacturerData`.
  void discover(const DeviceAddress& address, const Device& device,
                const std::optional<Device::Bytes>& manufacturerData, double rssi);

 private:
  class Manager;

  MainQueue& queue_;
  PhoneObserver& observer_;
  CBManagerState state_;
  std::vector<Manager*> managers_;
  CBPeripheral peripheral_;  // reused for each discovery, to save the allocation of its name
};

/// The identifier by which applications on this phone know a device: a UUID of version 8 (RFC 9562,
/// section 5.8) that ends in the device's address, so that a person recognises it.
UUID peripheralIdentifier(const DeviceAddress& address);

}  // namespace nimbrel
