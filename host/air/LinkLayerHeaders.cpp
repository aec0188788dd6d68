#include "host/air/LinkLayerHeaders.hpp"

#include <cstddef>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {
namespace {

constexpr unsigned codedPhy = 2;

/// What a sniffer says about a packet besides its bytes.
struct Reception {
  std::int8_t rssi = 127;
  bool isIntact = true;
  unsigned phy = 0;
};

void holdReceived(ByteCursor cursor, const Reception& reception, Packet& packet) {
  // Of all advertising channels, primary and secondary; connections and periodic trains have
  // addresses of their own.
  constexpr std::uint32_t advertisingAccessAddress = 0x8E89BED6;
  const auto accessAddress = cursor.integer<std::uint32_t>();
  if (reception.phy == codedPhy) cursor.byte();  // The coding indicator.
  const bool isUsable = cursor.ok() && reception.isIntact;
  packet.kind = isUsable && accessAddress == advertisingAccessAddress ? Packet::Kind::advertisingPdu
                                                                      : Packet::Kind::other;
  packet.rssi = reception.rssi;
  packet.data = cursor.rest();
}

}  // namespace

void holdLinkLayer(std::span<const std::uint8_t> content, Packet& packet) {
  holdReceived(ByteCursor(content), {}, packet);
}

void holdWithRadioHeader(std::span<const std::uint8_t> content, Packet& packet) {
  constexpr unsigned signalValid = 0x0002;
  constexpr unsigned checksumChecked = 0x0400;
  constexpr unsigned checksumValid = 0x0800;
  ByteCursor cursor(content);
  cursor.byte();  // The channel.
  const auto signal = static_cast<std::int8_t>(cursor.byte());
  cursor.take(6);  // The noise, and what the sniffer was looking for.
  // The flag that tells whitened bytes apart is not looked at: not every sniffer sets it.
  const unsigned flags = cursor.integer<std::uint16_t>();
  Reception reception;
  if ((flags & signalValid) != 0) reception.rssi = signal;
  reception.isIntact = (flags & (checksumChecked | checksumValid)) != checksumChecked;
  reception.phy = flags >> 14;
  holdReceived(cursor, reception, packet);
}

void holdFromNordicSniffer(std::span<const std::uint8_t> content, Packet& packet) {
  // Of version 0: board, packet type, counter (2), unused (2), payload length.
  // Of version 1: board, header length, payload length, version, counter (2), packet type.
  // Of 2 and on: board, payload length (2), version, counter (2), packet type.
  constexpr std::size_t headerLength = 7;
  constexpr std::uint8_t advertisingPacket = 2;  // Since version 3.
  constexpr std::uint8_t packetOfAnyKind = 6;
  constexpr std::uint8_t checksumValid = 0x01;
  packet.kind = Packet::Kind::other;
  if (content.size() < headerLength) return;
  const bool isVersion0 = content[1] == packetOfAnyKind && content[4] == 0 && content[5] == 0 &&
                          content[6] == content.size() - headerLength;
  const auto type = isVersion0 ? content[1] : content[6];
  if (type != packetOfAnyKind && type != advertisingPacket) return;

  ByteCursor cursor(content.subspan(headerLength));
  const auto length = cursor.byte();  // It counts itself.
  if (length == 0) return;
  ByteCursor header(cursor.take(length - 1U));
  const auto flags = header.byte();
  header.byte();  // The channel.
  // Kept without its sign.
  const auto rssi = static_cast<std::int8_t>(-header.byte());
  if (!header.ok()) return;
  holdReceived(cursor,
               {.rssi = rssi, .isIntact = (flags & checksumValid) != 0, .phy = (flags >> 4) & 7U},
               packet);
}

}  // namespace nimbrel
