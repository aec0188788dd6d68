#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <span>

namespace nimbrel {

/// Whether an address was assigned by the IEEE or made up by the device.
/// Source: Bluetooth Core Specification, volume 6, part B, section 1.3.
enum class AddressType : std::uint8_t { publicAddress, randomAddress };

/// What tells one device from another: the same digits under the other type are another device.
struct DeviceAddress {
  /// In the order of the written form: the most significant byte first.
  std::array<std::uint8_t, 6> bytes{};
  AddressType type = AddressType::randomAddress;

  friend auto operator<=>(const DeviceAddress&, const DeviceAddress&) = default;
};

/// One advertising report, whatever its source.
struct Advertisement {
  /// The wall clock when it was received, since 1970-01-01 00:00:00 UTC.
  std::chrono::microseconds time{};
  DeviceAddress address;
  /// In dBm; 127 if the controller had none.
  std::int8_t rssi = 127;
  /// The device's answer to an active scan, which complements its last advertisement.
  bool isScanResponse = false;
  /// Advertising data structures, possibly malformed; valid until the source moves on.
  /// Source: Bluetooth Core Specification, volume 3, part C, section 11.
  std::span<const std::uint8_t> data;
};

}  // namespace nimbrel
