#include "host/findings/UuidDifference.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace nimbrel {

namespace {

constexpr std::size_t kDigits = 32;

std::array<std::uint8_t, kDigits> digitsOf(const UUID& uuid) {
  std::array<std::uint8_t, kDigits> digits{};
  for (std::size_t index = 0; index < uuid.bytes.size(); ++index) {
    digits[2 * index] = uuid.bytes[index] >> 4U;
    digits[2 * index + 1] = uuid.bytes[index] & 0xFU;
  }
  return digits;
}

char digit(std::uint8_t value) { return "0123456789ABCDEF"[value]; }

/// The UUID with each of the groups of 4, 2 and 2 bytes at its front reversed, as programs have it
/// that keep those as little-endian numbers.
UUID frontReversed(UUID uuid) {
  std::reverse(uuid.bytes.begin(), uuid.bytes.begin() + 4);
  std::reverse(uuid.bytes.begin() + 4, uuid.bytes.begin() + 6);
  std::reverse(uuid.bytes.begin() + 6, uuid.bytes.begin() + 8);
  return uuid;
}

}  // namespace

std::string uuidDifference(const UUID& asked, const UUID& heard) {
  if (asked == heard) {
    return {};
  }
  UUID reversed = heard;
  std::reverse(reversed.bytes.begin(), reversed.bytes.end());
  if (reversed == asked) {
    return "has the filter's bytes in reverse order";
  }
  if (frontReversed(heard) == asked) {
    return "has the bytes of each of the filter's first three groups in reverse order";
  }

  const auto wanted = digitsOf(asked);
  const auto found = digitsOf(heard);
  constexpr std::size_t kAlike = 3;  // Chance does not leave 29 digits of 32 the same.
  std::vector<std::size_t> places;
  places.reserve(kAlike);
  for (std::size_t place = 0; place < kDigits; ++place) {
    if (wanted[place] == found[place]) {
      continue;
    }
    if (places.size() == kAlike) {
      return {};
    }
    places.push_back(place);
  }
  if (places.size() == 2 && wanted[places[0]] == found[places[1]] &&
      wanted[places[1]] == found[places[0]]) {
    return "has digits " + std::to_string(places[0] + 1) + " and " + std::to_string(places[1] + 1) +
           " of 32 swapped: " + digit(found[places[0]]) + " and " + digit(found[places[1]]) +
           " where the filter has " + digit(wanted[places[0]]) + " and " + digit(wanted[places[1]]);
  }
  std::string words;
  for (const std::size_t place : places) {
    words += (words.empty() ? "has " : ", and ") + std::string(1, digit(found[place])) +
             " as digit " + std::to_string(place + 1) + " of 32 where the filter has " +
             digit(wanted[place]);
  }
  return words;
}

}  // namespace nimbrel
