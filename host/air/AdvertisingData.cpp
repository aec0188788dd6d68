#include "host/air/AdvertisingData.hpp"

#include <algorithm>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {

AdvertisingData AdvertisingData::parse(std::span<const std::uint8_t> data) {
  AdvertisingData parsed;
  ByteCursor cursor(data);
  while (!cursor.rest().empty()) {
    ByteCursor structure(cursor.take(cursor.byte()));
    if (structure.rest().empty()) {
      break;
    }
    const auto type = structure.byte();
    const auto payload = structure.rest();
    if (type == manufacturerSpecific && !parsed.manufacturerData) {
      parsed.manufacturerData = payload;
    } else if ((type == completeName && !parsed.isNameComplete) ||
               (type == shortenedName && !parsed.name)) {
      if (payload.empty()) {
        continue;
      }
      parsed.name = payload;
      parsed.isNameComplete = type == completeName;
    }
  }
  return parsed;
}

void AdvertisingData::append(std::vector<std::uint8_t>& data, StructureType type,
                             std::span<const std::uint8_t> payload) {
  constexpr std::size_t kLongestPayload = 254;
  const auto kept = payload.first(std::min(payload.size(), kLongestPayload));
  data.push_back(static_cast<std::uint8_t>(kept.size() + 1));
  data.push_back(type);
  data.insert(data.end(), kept.begin(), kept.end());
}

}  // namespace nimbrel
