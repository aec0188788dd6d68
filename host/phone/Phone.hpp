#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "host/air/Sighting.hpp"
#include "host/phone/BluetoothService.hpp"
#include "host/phone/LocationService.hpp"
#include "host/phone/MainQueue.hpp"
#include "host/phone/Request.hpp"
#include "platform/Platform.hpp"

namespace nimbrel {

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
    /// The wall clock at the queue's time 0, in seconds since 1970.
    double clock = 1700000000.0;
    /// Whether anybody reads the diagnostic lines.
    bool hasConsole = true;
  };

  /// Both outlive the phone.
  Phone(const Setup& setup, MainQueue& queue, PhoneObserver& observer);

  // Controls

  LocationService& location() { return location_; }
  BluetoothService& bluetooth() { return bluetooth_; }
  MainQueue& queue() { return queue_; }

  /// Sets the wall clock; it goes on with the queue's time from there.
  void setClock(MainQueue::Time sinceEpoch);

  /// An advertising report reaches the phone's radio.
  void hear(const Sighting& sighting);

  // The plug-in's end

  std::unique_ptr<CLLocationManager> makeLocationManager() override;
  std::unique_ptr<CBCentralManager> makeCentralManager(
      std::weak_ptr<CBCentralManagerDelegate> delegate) override;
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override;
  [[nodiscard]] OperatingSystemVersion systemVersion() const override;
  [[nodiscard]] double timeIntervalSince1970() const override;
  void dispatchMainAsync(DispatchTask task) override;
  void print(std::initializer_list<std::string_view> parts) override;

 private:
  MainQueue& queue_;
  PhoneObserver& observer_;
  OperatingSystemVersion systemVersion_;
  bool hasLocationManager_;
  double clock_;                   // the wall clock is this
  MainQueue::Time clockOffset_{};  // and this, counted in whole microseconds, and the queue's time
  LocationService location_;
  BluetoothService bluetooth_;
  bool hasConsole_;
  std::string line_;
};

}  // namespace nimbrel
