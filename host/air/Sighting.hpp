#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// What a phone makes of one advertising report: the device's name and manufacturer data, put
/// together from its advertisement and its scan response. Views are valid during the call that
/// they are passed in.
struct Sighting {
  DeviceAddress address;
  /// In UTF-8.
  std::optional<std::string_view> name;
  /// Company identifier first, little-endian.
  std::optional<std::span<const std::uint8_t>> manufacturerData;
  /// False where the manufacturer data is known from an earlier report of the device: this report
  /// repeats no beacon frame.
  bool carriesManufacturerData = true;
  /// In dBm.
  double rssi = 0.0;
};

}  // namespace nimbrel
