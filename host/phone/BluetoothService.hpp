#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "host/air/Sighting.hpp"
#include "host/phone/MainQueue.hpp"
#include "host/phone/Request.hpp"
#include "platform/CoreBluetooth.hpp"

namespace nimbrel {

/// The phone's Bluetooth: its state, the scan, and the discoveries that the scan gives rise to.
class BluetoothService {
 public:
  /// The service reports to `observer` what it is asked. Queue and observer outlive it.
  BluetoothService(CBManagerState state, MainQueue& queue, PhoneObserver& observer);
  BluetoothService(const BluetoothService&) = delete;
  BluetoothService& operator=(const BluetoothService&) = delete;
  ~BluetoothService();

  // The plug-in's end

  std::unique_ptr<CBCentralManager> makeManager(std::weak_ptr<CBCentralManagerDelegate> delegate);

  // Controls: each makes the one callback that it names, in every manager's delegate

  [[nodiscard]] CBManagerState state() const { return state_; }
  void changeState(CBManagerState state);
  void discover(const CBPeripheral& peripheral, const CBAdvertisementData& data, double rssi);
  [[nodiscard]] bool isScanning() const { return isScanning_; }

  // The air

  /// A device is heard. Repeats of an unchanged payload are coalesced to one discovery a second.
  void hear(const Sighting& sighting);

  /// How many devices a scan has discovered.
  [[nodiscard]] std::size_t deviceCount() const { return devices_.size(); }

 private:
  class Manager;

  struct Device {
    CBPeripheral peripheral;
    std::optional<std::vector<std::uint8_t>> manufacturerData;
    MainQueue::Time discovered{};
  };

  MainQueue& queue_;
  PhoneObserver& observer_;
  CBManagerState state_;
  bool isScanning_ = false;
  std::vector<Manager*> managers_;
  std::unordered_map<DeviceAddress, Device, DeviceAddressHash> devices_;
};

/// The identifier of a device as this phone's applications know it: a UUID of version 8 (RFC 9562,
/// section 5.8) that ends in the device's address, so that a reader recognises it.
UUID peripheralIdentifier(const DeviceAddress& address);

}  // namespace nimbrel
