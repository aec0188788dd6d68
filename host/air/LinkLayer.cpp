#include "host/air/LinkLayer.hpp"

#include <cstddef>
#include <cstdint>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {
namespace {

/// Source: Bluetooth Core Specification, volume 6, part B, section 2.3.
enum PduType : unsigned {
  advInd = 0,
  advNonconnInd = 2,
  scanRsp = 4,
  advScanInd = 6,
  // ADV_EXT_IND, AUX_ADV_IND, AUX_SCAN_RSP and AUX_CHAIN_IND.
  extended = 7,
};

/// Leaves the advertising data in `payload`; false where there is no advertiser's address, the
/// advertising is directed at one other device, or the data is in a later PDU.
/// Source: Bluetooth Core Specification, volume 6, part B, section 2.3.4.
bool decodeExtended(ByteCursor& payload, DeviceAddress& advertiser) {
  constexpr unsigned hasAdvertiser = 0x01;
  constexpr unsigned hasTarget = 0x02;
  constexpr unsigned hasPointer = 0x10;
  // The advertising mode is in the two upper bits.
  ByteCursor header(payload.take(payload.byte() & 0x3FU));
  const unsigned fields = header.byte();
  if ((fields & (hasAdvertiser | hasTarget)) != hasAdvertiser) return false;
  advertiser.bytes = header.reversed<6>();
  if (!header.ok()) return false;
  // A pointer without data says where the advertisement is; with data, where it goes on.
  return (fields & hasPointer) == 0 || !payload.rest().empty();
}

}  // namespace

bool decodeAdvertisingPdu(const Packet& packet, Advertisement& advertisement) {
  constexpr unsigned randomAdvertiser = 0x40;
  ByteCursor cursor(packet.data);
  const unsigned header = cursor.byte();
  const auto length = cursor.byte();
  ByteCursor payload(cursor.takeUpTo(length));
  const unsigned type = header & 0x0FU;
  DeviceAddress& advertiser = advertisement.address;
  advertiser.type =
      (header & randomAdvertiser) != 0 ? AddressType::randomAddress : AddressType::publicAddress;
  switch (type) {
    case advInd:
    case advNonconnInd:
    case advScanInd:
    case scanRsp:
      advertiser.bytes = payload.reversed<6>();
      break;
    case extended:
      if (!decodeExtended(payload, advertiser)) return false;
      break;
    default:
      // Requests and answers, and directed advertising, which carries no data.
      return false;
  }
  if (!cursor.ok() || !payload.ok()) return false;
  advertisement.time = packet.time;
  advertisement.rssi = packet.rssi;
  advertisement.isScanResponse = type == scanRsp;
  advertisement.data = payload.rest();
  return true;
}

}  // namespace nimbrel
