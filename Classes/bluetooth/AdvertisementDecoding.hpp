#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// What an iBeacon or an AltBeacon says of itself.
struct BeaconFrame {
  UUID uuid;
  std::uint16_t major = 0;
  std::uint16_t minor = 0;
  std::int8_t measuredPower = 0;  // dBm at one metre
};

/// What was found in the manufacturer data of one advertisement.
struct DecodedAdvertisement {
  /// Six bytes as hexadecimal digits joined by colons; empty where there are fewer.
  std::string mac;
  std::optional<BeaconFrame> frame;
};

/// The two frames share one layout: company identifier (little-endian), two bytes that mark the
/// kind, 16 bytes of UUID, major and minor (big-endian), measured power (two's complement).
/// Sources: Apple, "Getting Started with iBeacon"; AltBeacon protocol, version 1.0.
namespace frames {

inline constexpr std::size_t size = 25;
inline constexpr std::uint16_t appleCompany = 0x004C;
inline constexpr std::uint16_t altBeaconCompany = 0x0118;

/// The company identifier of manufacturer data of two bytes or more.
std::uint16_t company(std::span<const std::uint8_t> data);

/// The iBeacon that manufacturer data holds, if it holds one.
std::optional<BeaconFrame> iBeacon(std::span<const std::uint8_t> data);

/// The AltBeacon that manufacturer data holds, if it holds one.
std::optional<BeaconFrame> altBeacon(std::span<const std::uint8_t> data);

}  // namespace frames

}  // namespace nimbrel
