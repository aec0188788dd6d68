#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/base/MainQueue.hpp"
#include "host/phone/AddressTable.hpp"
#include "host/phone/Device.hpp"

namespace nimbrel {

/// The devices that a phone remembers: those that it heard in the last ten minutes.
class Devices {
 public:
  /// What Bluetooth scans see of a device's manufacturer data.
  struct Visibility {
    /// False: that of the advertisement hides that of the scan response.
    bool joinsScanResponse = false;
    /// True: an iBeacon frame is not seen.
    bool withholdsBeacons = false;
  };

  explicit Devices(const Visibility& visibility) : visibility_(visibility) {}

  /// A device is heard with the data of one report. `now` never goes back. The device is valid
  /// until the next call.
  ///
  /// A name of the advertisement comes before that of the scan response, unless only the other one
  /// is complete. A name, once known, stays known; bytes of it that are not UTF-8 are replaced by
  /// U+FFFD.
  Device& hear(const DeviceAddress& address, const AdvertisingData& data, bool isScanResponse,
               MainQueue::Time now);

  /// A device is heard with all that there is of it: nothing of what was known before stays.
  Device& hear(const DeviceAddress& address, std::optional<std::string_view> name,
               std::optional<Device::Bytes> manufacturerData, MainQueue::Time now);

  /// The manufacturer data that a scan sees.
  [[nodiscard]] std::optional<Device::Bytes> visibleManufacturerData(const Device& device) const;

  /// How many devices were ever heard.
  [[nodiscard]] std::size_t everHeard() const { return everHeard_.size(); }
  /// How many of them take memory now.
  [[nodiscard]] std::size_t remembered() const { return numbers_.size(); }

 private:
  static constexpr std::size_t kBlock = 1024;

  Device& deviceOf(const DeviceAddress& address, MainQueue::Time now);
  /// Returns the number of an unused device.
  std::uint32_t freeDevice();
  void sweep(MainQueue::Time now);
  [[nodiscard]] Device& device(std::uint32_t number) {
    return blocks_[number / kBlock][number % kBlock];
  }
  void takeName(Device& device, const AdvertisingData& data, bool isScanResponse);
  void set(Device& device, Device::Part part, std::optional<Device::Bytes> bytes) const;

  Visibility visibility_;
  struct Nothing {};
  AddressTable<Nothing> everHeard_;
  AddressTable<std::uint32_t> numbers_;            // of the devices that are remembered
  std::vector<std::unique_ptr<Device[]>> blocks_;  // of devices, which never move
  std::uint32_t made_ = 0;                         // devices in the blocks
  std::vector<std::uint32_t> free_;                // those of them that are unused
  std::size_t sweepAt_ = kBlock;  // the number of devices at which the forgotten ones are freed
  std::string cleaned_;           // keeps its memory from name to name
};

}  // namespace nimbrel
