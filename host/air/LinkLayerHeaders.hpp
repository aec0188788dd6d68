#pragma once

#include <cstdint>
#include <span>

#include "host/air/Packet.hpp"

namespace nimbrel {

// The headers of link-layer packets in a sniffer's capture. If the sniffer says whether the
// checksum was right, that counts; else the packet's own three bytes decide. A packet without them
// is accepted: some tools leave them out, and a recorder may cut them off.
//
// REQUIRES: `packet` has its time and says whether it is cut.

/// Holds a packet that starts with its access address, as in link type 251.
/// Source: tcpdump.org, LINKTYPE_BLUETOOTH_LE_LL.
void holdLinkLayer(std::span<const std::uint8_t> content, Packet& packet);

/// Holds a packet with the radio header of link type 256.
/// Source: tcpdump.org, LINKTYPE_BLUETOOTH_LE_LL_WITH_PHDR.
void holdWithRadioHeader(std::span<const std::uint8_t> content, Packet& packet);

/// Holds a packet with the header of Nordic's sniffer, link type 272, in its versions 0 to 3.
/// Source: tcpdump.org, LINKTYPE_NORDIC_BLE.
void holdFromNordicSniffer(std::span<const std::uint8_t> content, Packet& packet);

}  // namespace nimbrel
