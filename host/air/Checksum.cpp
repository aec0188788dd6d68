#include "host/air/Checksum.hpp"

#include <array>

namespace nimbrel {
namespace {

// The register holds the highest power in its lowest bit, as bits go over the air lowest first.
// x^24 + x^10 + x^9 + x^6 + x^4 + x^3 + x + 1, and the start value 0x555555.
constexpr std::uint32_t kPolynomial = 0xDA6000;
constexpr std::uint32_t kStart = 0xAAAAAA;

constexpr auto kTable = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit) {
      remainder = (remainder >> 1U) ^ ((remainder & 1U) != 0 ? kPolynomial : 0);
    }
    table[byte] = remainder;
  }
  return table;
}();

}  // namespace

std::uint32_t advertisingChecksum(std::span<const std::uint8_t> pdu) {
  std::uint32_t checksum = kStart;
  for (const std::uint8_t byte : pdu) {
    checksum = (checksum >> 8U) ^ kTable[(checksum ^ byte) & 0xFFU];
  }
  return checksum;
}

}  // namespace nimbrel
