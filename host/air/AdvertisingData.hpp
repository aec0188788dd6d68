#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace nimbrel {

/// The advertising data structures of one report that are used here. The views point into its data.
/// Source: Bluetooth Core Specification, volume 3, part C, section 11; the types are those of its
/// Supplement, part A, sections 1.2 and 1.4.
struct AdvertisingData {
  enum StructureType : std::uint8_t {
    shortenedName = 0x08,
    completeName = 0x09,
    manufacturerSpecific = 0xFF,
  };

  /// The complete local name or else the shortened one, in what should be UTF-8. Never empty.
  std::optional<std::span<const std::uint8_t>> name;
  bool isNameComplete = false;
  /// Company identifier first, little-endian. The first structure if there are several: a phone
  /// hands out one, and devices put the one of general interest first.
  std::optional<std::span<const std::uint8_t>> manufacturerData;

  /// A structure of length zero ends the data. So does one that is longer than the rest, which
  /// phones ignore, too.
  static AdvertisingData parse(std::span<const std::uint8_t> data);

  /// Adds a structure to the end of `data`. A payload is cut after 254 bytes, the most that a
  /// structure holds.
  static void append(std::vector<std::uint8_t>& data, StructureType type,
                     std::span<const std::uint8_t> payload);
};

}  // namespace nimbrel
