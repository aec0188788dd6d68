#include "host/air/LinkLayerHeaders.hpp"

#include <cstddef>

#include "host/air/ByteCursor.hpp"
#include "host/air/Checksum.hpp"

namespace nimbrel {
namespace {

constexpr unsigned kCodedPhy = 2;

enum class Checksum : std::uint8_t { unchecked, right, wrong };

/// What a sniffer says about a packet besides its bytes.
struct Reception {
  std::int8_t rssi = 127;
  Checksum checksum = Checksum::unchecked;
  unsigned phy = 0;
  std::uint8_t channel = Packet::kUnknownChannel;
  bool isScanResponse = false;
};

/// What sniffers call a PDU of the secondary channels that answers a scan.
constexpr unsigned kAuxScanResponse = 3;

/// The index of a channel from its place among the frequencies, from 2402 MHz on in steps of 2: the
/// three primary channels lie at both ends and in between.
/// Source: Bluetooth Core Specification, volume 6, part B, section 1.4.1.
std::uint8_t channelAt(std::uint8_t frequency) {
  switch (frequency) {
    case 0:
      return 37;
    case 12:
      return 38;
    case 39:
      return 39;
    default:
      return static_cast<std::uint8_t>(frequency - (frequency < 12 ? 1 : 2));
  }
}

/// Whether the three bytes behind a PDU are its checksum, as far as they are there.
bool agreesWithChecksum(std::span<const std::uint8_t> content, bool isCut) {
  constexpr std::size_t kHeaderLength = 2;
  constexpr std::size_t kChecksumLength = 3;
  ByteCursor cursor(content);
  const auto pdu = cursor.take(content.size() < kHeaderLength ? 0 : kHeaderLength + content[1]);
  const auto rest = cursor.rest();
  if (pdu.empty() || (!rest.empty() && rest.size() < kChecksumLength)) {
    return isCut;
  }
  if (rest.empty()) {
    return true;
  }
  const auto low = cursor.integer<std::uint16_t>();
  const auto high = cursor.byte();
  return (static_cast<std::uint32_t>(high) << 16U | low) == advertisingChecksum(pdu);
}

void holdReceived(ByteCursor cursor, const Reception& reception, Packet& packet) {
  // Of all advertising channels, primary and secondary; connections and periodic trains have
  // addresses of their own.
  constexpr std::uint32_t kAdvertisingAccessAddress = 0x8E89BED6;
  const auto accessAddress = cursor.integer<std::uint32_t>();
  if (reception.phy == kCodedPhy) {
    cursor.byte();  // The coding indicator.
  }
  packet.origin = Packet::Origin::sniffer;
  packet.rssi = reception.rssi;
  packet.channel = reception.channel;
  packet.isScanResponse = reception.isScanResponse;
  packet.data = cursor.rest();
  if (!cursor.ok() || accessAddress != kAdvertisingAccessAddress) {
    packet.kind = Packet::Kind::other;
    return;
  }
  const bool isIntact = reception.checksum == Checksum::unchecked
                            ? agreesWithChecksum(packet.data, packet.isCut)
                            : reception.checksum == Checksum::right;
  packet.kind = isIntact ? Packet::Kind::advertisingPdu : Packet::Kind::damagedPdu;
}

}  // namespace

void holdLinkLayer(std::span<const std::uint8_t> content, Packet& packet) {
  holdReceived(ByteCursor(content), {}, packet);
}

void holdWithRadioHeader(std::span<const std::uint8_t> content, Packet& packet) {
  constexpr unsigned kSignalValid = 0x0002;
  constexpr unsigned kChecksumChecked = 0x0400;
  constexpr unsigned kChecksumValid = 0x0800;
  // Of a PDU of extended advertising; of others, the two bits mean something else.
  constexpr unsigned kPduTypeBits = 0x0380;
  constexpr unsigned kAuxiliary = 0x0080;
  ByteCursor cursor(content);
  const auto frequency = cursor.byte();
  const auto signal = static_cast<std::int8_t>(cursor.byte());
  cursor.take(6);  // The noise, and what the sniffer was looking for.
  // The flag that tells whitened bytes apart is not looked at: not every sniffer sets it.
  const unsigned flags = cursor.integer<std::uint16_t>();
  Reception reception;
  if ((flags & kSignalValid) != 0) {
    reception.rssi = signal;
  }
  if ((flags & kChecksumChecked) != 0) {
    reception.checksum = (flags & kChecksumValid) != 0 ? Checksum::right : Checksum::wrong;
  }
  reception.phy = flags >> 14;
  reception.channel = channelAt(frequency);
  reception.isScanResponse =
      (flags & kPduTypeBits) == kAuxiliary && (flags >> 12 & 3U) == kAuxScanResponse;
  holdReceived(cursor, reception, packet);
}

void holdFromNordicSniffer(std::span<const std::uint8_t> content, Packet& packet) {
  // Of version 0: board, packet type, counter (2), unused (2), payload length.
  // Of version 1: board, header length, payload length, version, counter (2), packet type.
  // Of 2 and on: board, payload length (2), version, counter (2), packet type.
  constexpr std::size_t kHeaderLength = 7;
  constexpr std::uint8_t kUntypedPacket = 0;      // In version 2 alone.
  constexpr std::uint8_t kAdvertisingPacket = 2;  // Since version 3.
  constexpr std::uint8_t kPacketOfAnyKind = 6;
  constexpr std::uint8_t kChecksumValid = 0x01;
  constexpr std::uint8_t kNoSignal = 0;
  packet.kind = Packet::Kind::other;
  packet.origin = Packet::Origin::sniffer;
  if (content.size() < kHeaderLength) {
    return;
  }
  const bool isVersion0 = content[1] == kPacketOfAnyKind && content[4] == 0 && content[5] == 0 &&
                          content[6] == content.size() - kHeaderLength;
  const auto type = isVersion0 ? content[1] : content[6];
  const bool isUntyped = !isVersion0 && content[3] == 2 && type == kUntypedPacket;
  if (type != kPacketOfAnyKind && type != kAdvertisingPacket && !isUntyped) {
    return;
  }

  ByteCursor cursor(content.subspan(kHeaderLength));
  const auto length = cursor.byte();  // It counts itself.
  if (length == 0) {
    return;
  }
  ByteCursor header(cursor.take(length - 1U));
  const auto flags = header.byte();
  const auto channel = header.byte();
  const auto strength = header.byte();  // Without its sign.
  if (!header.ok()) {
    return;
  }
  Reception reception;
  if (strength != kNoSignal) {
    reception.rssi = static_cast<std::int8_t>(-strength);
  }
  reception.checksum = (flags & kChecksumValid) != 0 ? Checksum::right : Checksum::wrong;
  reception.phy = (flags >> 4) & 7U;
  reception.channel = channel;
  reception.isScanResponse = type == kAdvertisingPacket && (flags >> 1 & 3U) == kAuxScanResponse;
  holdReceived(cursor, reception, packet);
}

}  // namespace nimbrel
