#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The content of an iBeacon or AltBeacon frame.
struct BeaconFrame {
  UUID uuid;
  std::uint16_t major = 0;
  std::uint16_t minor = 0;
  std::int8_t measuredPower = 0;  // dBm at one metre
};

/// Readers of beacon frames. Both kinds have one layout: company identifier (2 bytes,
/// little-endian), two bytes that tell the kind, UUID (16 bytes), major and minor (2 bytes each,
/// big-endian), measured power (1 byte, two's complement).
/// Sources: Apple, "Getting Started with iBeacon"; AltBeacon protocol, version 1.0.
namespace frames {

/// The length of a frame in bytes. Bytes after it are ignored.
inline constexpr std::size_t kSize = 25;
inline constexpr std::uint16_t kAppleCompany = 0x004C;
inline constexpr std::uint16_t kAltBeaconCompany = 0x0118;

/// The company identifier, the first two bytes of manufacturer data.
/// REQUIRES: `data` has two bytes or more.
std::uint16_t company(std::span<const std::uint8_t> data);

/// Reads manufacturer data, starting at the company identifier. Absent if it is not an iBeacon.
std::optional<BeaconFrame> iBeacon(std::span<const std::uint8_t> data);

/// Reads manufacturer data, starting at the company identifier. Absent if it is not an AltBeacon.
std::optional<BeaconFrame> altBeacon(std::span<const std::uint8_t> data);

}  // namespace frames

}  // namespace nimbrel
