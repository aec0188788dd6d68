#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/bluez/Sdbus.hpp"

namespace nimbrel {

/// Turns the properties of the devices that BlueZ knows into advertising reports. It keeps as many
/// devices as BlueZ, which removes one half a minute after its last report, unless it is paired.
/// Source: BlueZ's D-Bus API, interface org.bluez.Device1.
class BluezDevices {
 public:
  using Properties = std::map<std::string, sdbus::Variant>;

  /// Takes in a device that BlueZ remembers. It need not be on the air now.
  void know(const std::string& path, const Properties& properties);

  /// Takes in a new device, or changed properties of a known one. Returns a report if the device
  /// was heard; its time is not set, and its data is valid until the next call.
  ///
  /// BlueZ sends the signal strength with each report, even if nothing changed; if another program
  /// runs a coarser discovery, only with a marked change. Properties that it does not send are
  /// unchanged. Manufacturer data of several companies stands in one report, beacon frames first,
  /// because a phone reads the first one.
  std::optional<Advertisement> take(const std::string& path, const Properties& properties);

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
  };

  static void update(Device& device, const Properties& properties);
  static void takeManufacturerData(Device& device, const Companies& companies);
  void encode(const Device& device);

  std::map<std::string, Device> devices_;  // By object path.
  Bytes data_;
};

}  // namespace nimbrel
