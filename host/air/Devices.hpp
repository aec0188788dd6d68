#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/air/Sighting.hpp"

namespace nimbrel {

/// What a phone remembers of each device that it hears: the manufacturer data of its last
/// advertisement and of its last scan response, and its name.
class Devices {
 public:
  /// Takes in a report. The sighting's views are valid until the next call, or while the report's
  /// data is.
  ///
  /// Manufacturer data of the advertisement comes before that of the scan response. So does a name,
  /// unless only the other one is complete. A name, once known, stays known; bytes of it that are
  /// not UTF-8 are replaced by U+FFFD.
  Sighting sight(const Advertisement& advertisement);

  [[nodiscard]] std::size_t count() const { return devices_.size(); }

 private:
  struct ManufacturerData {
    std::vector<std::uint8_t> bytes;
    bool isPresent = false;
  };
  struct Device {
    std::array<ManufacturerData, 2> manufacturerData;  // Of the advertisement; the scan response.
    std::string name;
    // How good the name is; 0 once the last report of the kind that it is from carried none.
    std::uint8_t nameRank = 0;
    bool isNameFromScanResponse = false;
  };

  void takeName(Device& device, const AdvertisingData& data, bool isScanResponse);

  std::unordered_map<DeviceAddress, Device, DeviceAddressHash> devices_;
  std::string cleaned_;  // Keeps its memory from name to name.
};

}  // namespace nimbrel
