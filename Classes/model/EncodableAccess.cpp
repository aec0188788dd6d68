#include "Classes/model/EncodableAccess.hpp"

#include <algorithm>
#include <cmath>
#include <string>

namespace nimbrel {

const EncodableMap* textKeyedMap(const EncodableValue& value) {
  const auto* map = std::get_if<EncodableMap>(&value);
  const auto hasTextKey = [](const EncodableEntry& entry) {
    return std::holds_alternative<std::string>(entry.key);
  };
  return map != nullptr && std::all_of(map->begin(), map->end(), hasTextKey) ? map : nullptr;
}

const EncodableValue* valueFor(const EncodableMap& map, std::string_view key) {
  for (const EncodableEntry& entry : map) {
    const auto* text = std::get_if<std::string>(&entry.key);
    if (text != nullptr && *text == key) {
      return &entry.value;
    }
  }
  return nullptr;
}

std::optional<std::int64_t> integerFor(const EncodableMap& map, std::string_view key) {
  if (const auto* integer = valueFor<std::int64_t>(map, key)) {
    return *integer;
  }
  constexpr double kLimit = 9223372036854775808.0;  // 2 to the power of 63
  const auto* number = valueFor<double>(map, key);
  if (number != nullptr && *number >= -kLimit && *number < kLimit &&
      std::trunc(*number) == *number) {
    return static_cast<std::int64_t>(*number);
  }
  return std::nullopt;
}

}  // namespace nimbrel
