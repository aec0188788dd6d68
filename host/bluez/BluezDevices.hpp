#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/bluez/Sdbus.hpp"

namespace nimbrel {

/// Turns the properties of the devices that BlueZ knows into advertising reports. It keeps the
/// devices that were heard in the last ten minutes. BlueZ removes most devices half a minute after
/// their last report, but keeps those that are paired, and all if its TemporaryTimeout says so.
/// `now` never goes back. Source: BlueZ's D-Bus API, interface org.bluez.Device1.
class BluezDevices {
 public:
  using Properties = std::map<std::string, sdbus::Variant>;

  /// Takes in a device that BlueZ remembers. It need not be on the air now.
  void know(const std::string& path, const Properties& properties, MainQueue::Time now);

  /// False for a device that was never taken in, or is no longer kept: `take` then needs all of its
  /// properties.
  [[nodiscard]] bool knows(const std::string& path) const { return devices_.contains(path); }

  /// Takes in a new device, or changed properties of a known one. Returns a report if the device
  /// was heard; its time is not set, and its data is valid until the next call.
  ///
  /// BlueZ sends the signal strength with each report, even if nothing changed; if another program
  /// runs a coarser discovery, only with a marked change. Properties that it does not send are
  /// unchanged. Manufacturer data of several companies stands in one report, beacon frames first,
  /// because a phone reads the first one.
  std::optional<Advertisement> take(const std::string& path, const Properties& properties,
                                    MainQueue::Time now);

  /// Forgets properties of a device. BlueZ withdraws the signal strength when a discovery ends.
  void withdraw(const std::string& path, const std::vector<std::string>& names);

  /// Forgets a device that BlueZ has removed.
  void forget(const std::string& path) { devices_.erase(path); }

 private:
  using Bytes = std::vector<std::uint8_t>;
  using Companies = std::map<std::uint16_t, sdbus::Variant>;

  struct Device {
    DeviceAddress address;
    Bytes name;
    std::vector<Bytes> manufacturerData;  // Of one company each; beacon frames first.
    std::ptrdiff_t beaconFrames = 0;
    std::int8_t rssi = 127;
    MainQueue::Time lastHeard{};
  };

  Device& make(const std::string& path, MainQueue::Time now);
  static void update(Device& device, const Properties& properties);
  static void takeManufacturerData(Device& device, const Companies& companies);
  void encode(const Device& device);

  std::map<std::string, Device> devices_;  // By object path.
  static constexpr std::size_t kFewDevices = 256;
  std::size_t sweepAt_ = kFewDevices;  // the number of devices at which the silent ones go
  Bytes data_;
};

}  // namespace nimbrel
