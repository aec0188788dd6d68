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
    if (digits[i] == ' ') continue;
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    ++i;
  }
  return bytes;
}

inline std::string toHex(const auto& bytes) {
  std::string digits;
  for (const std::uint8_t byte : bytes) {
    constexpr std::string_view alphabet = "0123456789ABCDEF";
    digits += {alphabet[byte >> 4U], alphabet[byte & 15U]};
  }
  return digits;
}

inline Bytes text(std::string_view characters) { return {characters.begin(), characters.end()}; }

inline Bytes little(std::size_t size, std::uint64_t value) {
  Bytes bytes;
  for (; bytes.size() < size; value >>= 8U) bytes.push_back(static_cast<std::uint8_t>(value));
  return bytes;
}

inline Bytes big(std::size_t size, std::uint64_t value) {
  const auto bytes = little(size, value);
  return {bytes.rbegin(), bytes.rend()};
}

inline Bytes withLength(const Bytes& bytes) { return little(1, bytes.size()) + bytes; }

/// An LE meta event, without the packet type of H4.
inline Bytes event(const Bytes& parameters) { return hex("3E") + withLength(parameters); }

inline Bytes btsnoop(std::uint32_t datalink, const Bytes& records) {
  return text("btsnoop") + hex("00") + big(4, 1) + big(4, datalink) + records;
}

inline Bytes btsnoopRecord(std::uint32_t flags, std::uint64_t stamp, const Bytes& packet) {
  return big(4, packet.size()) + big(4, packet.size()) + big(4, flags) + big(4, 0) + big(8, stamp) +
         packet;
}

/// "112233445566 random -60 020106", with "response" before the data of a scan response.
inline std::string inWords(const Advertisement& advertisement) {
  const auto& [bytes, type] = advertisement.address;
  return toHex(bytes) + (type == AddressType::randomAddress ? " random " : " public ") +
         std::to_string(advertisement.rssi) + (advertisement.isScanResponse ? " response " : " ") +
         toHex(advertisement.data);
}

}  // namespace nimbrel
