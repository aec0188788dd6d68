#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// The two upper-case hexadecimal digits of each byte value, in ascending order.
inline constexpr auto kHexPairs = [] {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::array<char, 512> pairs{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    pairs[byte * 2] = kDigits[byte / 16];
    pairs[byte * 2 + 1] = kDigits[byte % 16];
  }
  return pairs;
}();

/// Writes the two hexadecimal digits of a byte and returns the position after them.
/// REQUIRES: `out` has room for two characters.
inline char* appendHexByte(char* out, std::uint8_t byte) {
  return std::copy_n(kHexPairs.data() + std::size_t{byte} * 2, 2, out);
}

/// The value of a hexadecimal digit of either case, or -1 for any other character.
constexpr int hexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  if (digit >= 'A' && digit <= 'F') {
    return digit - 'A' + 10;
  }
  if (digit >= 'a' && digit <= 'f') {
    return digit - 'a' + 10;
  }
  return -1;
}

/// The text of a UUID: 36 characters, upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12
/// joined by hyphens. Source: RFC 9562, section 4.
class UuidText {
 public:
  /// Of no UUID: 36 null characters.
  UuidText() = default;
  explicit UuidText(const UUID& uuid);

  /// Valid as long as the object is.
  operator std::string_view() const { return {characters_.data(), characters_.size()}; }

  friend bool operator==(const UuidText&, const UuidText&) = default;

 private:
  std::array<char, 36> characters_{};
};

/// Parses a text of that form, in either letter case. Absent for any other text.
std::optional<UUID> parseUuid(std::string_view text);

}  // namespace nimbrel
