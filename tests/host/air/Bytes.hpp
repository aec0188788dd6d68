#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes front, const Bytes& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

/// Of hexadecimal digits in pairs; blanks are there for the reader.
inline Bytes hex(std::string_view digits) {
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (digits[i] == ' ') {
      continue;
    }
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    ++i;
  }
  return bytes;
}

inline std::string toHex(const auto& bytes) {
  std::string digits;
  for (const std::uint8_t byte : bytes) {
    constexpr std::string_view kAlphabet = "0123456789ABCDEF";
    digits += {kAlphabet[byte >> 4U], kAlphabet[byte & 15U]};
  }
  return digits;
}

inline Bytes text(std::string_view characters) { return {characters.begin(), characters.end()}; }

inline Bytes little(std::size_t size, std::uint64_t value) {
  Bytes bytes;
  for (; bytes.size() < size; value >>= 8U) {
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
}

inline Bytes big(std::size_t size, std::uint64_t value) {
  const auto bytes = little(size, value);
  return {bytes.rbegin(), bytes.rend()};
}

inline Bytes withLength(const Bytes& bytes) { return little(1, bytes.size()) + bytes; }

// Advertising data structures.
inline Bytes named(std::string_view name) { return withLength(hex("09") + text(name)); }
inline Bytes made(const Bytes& data) { return withLength(hex("FF") + data); }

/// An LE meta event, without the packet type of H4.
inline Bytes event(const Bytes& parameters) { return hex("3E") + withLength(parameters); }

inline Bytes btsnoop(std::uint32_t datalink, const Bytes& records) {
  return text("btsnoop") + hex("00") + big(4, 1) + big(4, datalink) + records;
}

inline Bytes btsnoopRecord(std::uint32_t flags, std::uint64_t stamp, const Bytes& packet) {
  return big(4, packet.size()) + big(4, packet.size()) + big(4, flags) + big(4, 0) + big(8, stamp) +
         packet;
}

using Number = Bytes (*)(std::size_t size, std::uint64_t value);

inline Bytes pcapHeader(Number number, std::uint32_t linkType, std::uint32_t magic = 0xA1B2C3D4) {
  return number(4, magic) + number(2, 2) + number(2, 4) + number(8, 0) + number(4, 65535) +
         number(4, linkType);
}

/// `cut` bytes more were there than the recorder kept.
inline Bytes pcapRecord(Number number, std::uint64_t seconds, std::uint64_t fraction,
                        const Bytes& packet, std::size_t cut = 0) {
  return number(4, seconds) + number(4, fraction) + number(4, packet.size()) +
         number(4, packet.size() + cut) + packet;
}

/// A block of a pcapng file. `body` is filled up to whole groups of four bytes.
inline Bytes block(Number number, std::uint32_t type, const Bytes& body) {
  const Bytes padding((4 - body.size() % 4) % 4, 0);
  const auto length = number(4, body.size() + padding.size() + 12);
  return number(4, type) + length + body + padding + length;
}

inline Bytes section(Number number) {
  return block(number, 0x0A0D0D0A,
               number(4, 0x1A2B3C4D) + number(2, 1) + number(2, 0) + number(8, ~0ULL));
}

inline Bytes interfaceBlock(Number number, std::uint32_t linkType, const Bytes& options = {},
                            std::uint32_t longestPacket = 65535) {
  return block(number, 1, number(2, linkType) + number(2, 0) + number(4, longestPacket) + options);
}

/// An enhanced packet.
inline Bytes packetBlock(Number number, std::uint32_t interface, std::uint64_t stamp,
                         const Bytes& packet) {
  const auto length = number(4, packet.size());
  return block(
      number, 6,
      number(4, interface) + number(4, stamp >> 32U) + number(4, stamp) + length + length + packet);
}

/// "112233445566 random -60 020106", with "response" before the data of a scan response.
inline std::string inWords(const Advertisement& advertisement) {
  const auto& [bytes, type] = advertisement.address;
  return toHex(bytes) + (type == AddressType::randomAddress ? " random " : " public ") +
         std::to_string(advertisement.rssi) + (advertisement.isScanResponse ? " response " : " ") +
         toHex(advertisement.data);
}

}  // namespace nimbrel
