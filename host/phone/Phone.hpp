#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/phone/BluetoothService.hpp"
#include "host/phone/Devices.hpp"
#include "host/phone/LocationService.hpp"
#include "host/phone/Request.hpp"
#include "platform/Platform.hpp"

namespace nimbrel {

/// What a phone shows of an advertising device. The views are valid only during the call that
/// passes them.
struct Sighting {
  DeviceAddress address;
  /// In UTF-8.
  std::optional<std::string_view> name;
  /// Company identifier first, little-endian.
  std::optional<std::span<const std::uint8_t>> manufacturerData;
  /// In dBm; 127 if there was no reading.
  double rssi = 127.0;
};

/// A simulated phone that the plug-in runs on, with the controls that a scenario, a capture or a
/// test uses.
class Phone final : public Platform {
 public:
  struct Setup {
    OperatingSystemVersion systemVersion{17, 0, 0};
    LocationService::Setup location;
    /// False: the phone gives the plug-in no location manager.
    bool hasLocationManager = true;
    CBManagerState bluetooth = CBManagerState::poweredOn;
    /// Bluetooth scans never see an iBeacon frame.
    bool withholdsBeacons = false;
    /// The wall clock at the queue's time 0, in seconds since 1970.
    double clock = 1700000000.0;
    /// Whether diagnostic lines are reported.
    bool hasConsole = true;
  };

  /// REQUIRES: queue and observer outlive the phone, and the queue runs no task after its end.
  Phone(const Setup& setup, MainQueue& queue, PhoneObserver& observer);

  // Controls

  LocationService& location() { return location_; }
  BluetoothService& bluetooth() { return bluetooth_; }
  MainQueue& queue() { return queue_; }

  /// Sets the wall clock, which then advances with the queue's time.
  void setClock(MainQueue::Time sinceEpoch);

  /// The phone receives an advertising report now; the report's own time is ignored.
  void hear(const Advertisement& advertisement) { hear(advertisement, advertisement.rssi); }
  /// The same with a signal strength in dBm that need not be whole.
  void hear(const Advertisement& advertisement, double rssi);
  /// The phone receives a device with exactly this name and manufacturer data.
  void hear(const Sighting& sighting);

  [[nodiscard]] const Devices& devices() const { return devices_; }

  // For the plug-in

  std::unique_ptr<CLLocationManager> makeLocationManager() override;
  std::unique_ptr<CBCentralManager> makeCentralManager(
      std::weak_ptr<CBCentralManagerDelegate> delegate) override;
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override;
  [[nodiscard]] OperatingSystemVersion systemVersion() const override;
  [[nodiscard]] double timeIntervalSince1970() const override;
  void dispatchMainAsync(DispatchTask task) override;
  [[nodiscard]] bool hasConsole() const override { return hasConsole_; }
  void print(std::initializer_list<std::string_view> parts) override;

 private:
  /// Passes a received device to both services. `isHidden`: other manufacturer data hides the frame
  /// of its scan response.
  void pass(const DeviceAddress& address, Device& device,
            std::optional<Device::Bytes> manufacturerData, bool isHidden, double rssi);

  MainQueue& queue_;
  PhoneObserver& observer_;
  OperatingSystemVersion systemVersion_;
  bool hasLocationManager_;
  bool withholdsBeacons_;
  // The wall clock is the sum of these two and the queue's time.
  double clock_;
  MainQueue::Time clockOffset_{};
  LocationService location_;
  BluetoothService bluetooth_;
  Devices devices_;
  bool hasConsole_;
  std::string line_;
};

}  // namespace nimbrel
