#pragma once

#include <cstdint>
#include <span>

namespace nimbrel {

/// The checksum of a PDU of the advertising channels, primary and secondary, over its header and
/// payload: the first byte on the air is the lowest one.
/// Source: Bluetooth Core Specification, volume 6, part B, section 3.1.1.
std::uint32_t advertisingChecksum(std::span<const std::uint8_t> pdu);

}  // namespace nimbrel
