#include "host/air/AdvertisingData.hpp"

#include "host/air/ByteCursor.hpp"

namespace nimbrel {

AdvertisingData AdvertisingData::parse(std::span<const std::uint8_t> data) {
  constexpr std::uint8_t shortenedName = 0x08;
  constexpr std::uint8_t completeName = 0x09;
  constexpr std::uint8_t manufacturerSpecific = 0xFF;

  AdvertisingData parsed;
  ByteCursor cursor(data);
  while (!cursor.rest().empty()) {
    ByteCursor structure(cursor.take(cursor.byte()));
    if (structure.rest().empty()) break;
    const auto type = structure.byte();
    const auto payload = structure.rest();
    if (type == manufacturerSpecific && !parsed.manufacturerData) {
      parsed.manufacturerData = payload;
    } else if ((type == completeName && !parsed.isNameComplete) ||
               (type == shortenedName && !parsed.name)) {
      if (payload.empty()) continue;
      parsed.name = payload;
      parsed.isNameComplete = type == completeName;
    }
  }
  return parsed;
}

}  // namespace nimbrel
