#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// The devices that BlueZ knows, and the reports that the changes of their properties stand for.
/// Source: BlueZ's D-Bus API, interface org.bluez.Device1.
class BluezDevices {
 public:
  using Properties = std::map<std::string, sdbus::Variant>;

  /// What is known of a device that need not be on the air: BlueZ remembers devices.
  void know(const std::string& path, const Properties& properties);

  /// A device comes up, or properties of it change. Returns a report where that says that the
  /// device was heard; its time is left out, its data valid until the next call.
  ///
  /// BlueZ has told the signal strength of each report, even of an unchanged one, or where another
  /// program's discovery is coarser, that of each marked change. Properties that it does not tell
  /// anew are those of this report, too. Manufacturer data of several companies stands in one
  /// report, beacon frames in front: a phone reads the first one.
  std::optional<Advertisement> take(const std::string& path, const Properties& properties);

  /// Properties of a device are no longer known. BlueZ withdraws the signal strength at the end of
  /// a discovery.
  void withdraw(const std::string& path, const std::vector<std::string>& names);

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
