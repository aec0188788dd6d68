#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace nimbrel {

/// What is used of the advertising data structures of one report. The views are into that data.
/// Source: Bluetooth Core Specification, volume 3, part C, section 11; the types are those of its
/// Supplement, part A, sections 1.2 and 1.4.
struct AdvertisingData {
  /// The complete local name or else the shortened one, in what should be UTF-8. Never empty.
  std::optional<std::span<const std::uint8_t>> name;
  bool isNameComplete = false;
  /// Company identifier first, little-endian. Of several, the first: a phone hands out one, and
  /// devices put the one that matters to everybody in front.
  std::optional<std::span<const std::uint8_t>> manufacturerData;

  /// A structure of length zero ends the data. So does one that is longer than what is left:
  /// nothing tells how much of it was meant, and phones ignore it, too.
  static AdvertisingData parse(std::span<const std::uint8_t> data);
};

}  // namespace nimbrel
