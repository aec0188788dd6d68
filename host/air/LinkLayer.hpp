#pragma once

#include "host/air/Advertisement.hpp"
#include "host/air/Packet.hpp"

namespace nimbrel {

/// Makes the advertisement of a packet of kind advertisingPdu; false where it is none.
///
/// Each PDU of extended advertising is used by itself: a sniffer often misses parts of a chain, and
/// what beacons send fits into the first PDU that carries data.
bool decodeAdvertisingPdu(const Packet& packet, Advertisement& advertisement);

}  // namespace nimbrel
