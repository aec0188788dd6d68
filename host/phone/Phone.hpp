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

/// A device that advertises, as far as a phone shows it. The views are valid during the call that
/// they are passed in.
struct Sighting {
  DeviceAddress address;
  /// In UTF-8.
  std::optional<std::string_view> name;
  /// Company identifier first, little-endian.
  std::optional<std::span<const std::uint8_t>> manufacturerData;
  /// In dBm; 127 where there was no reading.
  double rssi = 127.0;
};

/// A phone without a phone: the device that the plug-in runs on, and the controls over it that a
/// scenario, a capture or a test uses.
class Phone final : public Platform {
 public:
  struct Setup {
    OperatingSystemVersion systemVersion{17, 0, 0};
    LocationService::Setup location;
    /// False: the device has no location manager to give.
    bool hasLocationManager = true;
    CBManagerState bluetooth = CBManagerState::poweredOn;
    /// Bluetooth scans never see an iBeacon frame.
    bool withholdsBeacons = false;
    /// The wall clock at the queue's time 0, in seconds since 1970.
    double clock = 1700000000.0;
    /// Whether anybody reads the diagnostic lines.
    bool hasConsole = true;
  };

  /// REQUIRES: queue and observer outlive the phone, and the queue runs no task once it is gone.
  Phone(const Setup& setup, MainQueue& queue, PhoneObserver& observer);

  // Controls

  LocationService& location() { return location_; }
  BluetoothService& bluetooth() { return bluetooth_; }
  MainQueue& queue() { return queue_; }

  /// Sets the wall clock; it goes on with the queue's time from there.
  void setClock(MainQueue::Time sinceEpoch);

  /// An advertising report reaches the phone now, whatever its own time is.
  void hear(const Advertisement& advertisement) { hear(advertisement, advertisement.rssi); }
  /// The same with a signal strength in dBm that need not be whole.
  void hear(const Advertisement& advertisement, double rssi);
  /// A device is heard with the name and the manufacturer data given, and no others.
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
  void print(std::initializer_list<std::string_view> parts) override;

 private:
  /// Hands what was heard to both services. `isHidden`: the frame of a scan response is hidden
  /// behind other manufacturer data.
  void pass(const DeviceAddress& address, Device& device, const std::optional<BeaconFrame>& frame,
            bool isHidden, double rssi);

  MainQueue& queue_;
  PhoneObserver& observer_;
  OperatingSystemVersion systemVersion_;
  bool hasLocationManager_;
  bool withholdsBeacons_;
  double clock_;                   // the wall clock is this
  MainQueue::Time clockOffset_{};  // and this, counted in whole microseconds, and the queue's time
  LocationService location_;
  BluetoothService bluetooth_;
  Devices devices_;
  bool hasConsole_;
  std::string line_;
};

}  // namespace nimbrel
