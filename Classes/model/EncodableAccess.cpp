#include "Classes/model/EncodableAccess.hpp"

#include <algorithm>
#include <cmath>
#include <string>

namespace nimbrel {

const EncodableMap* textKeyedMap(const EncodableValue& value) {
  const auto* map = std::get_if<EncodableMap>(&value);
  const auto hasTextKey = [](const EncodableEntry& entry) { return entry.key.text().has_value(); };
  return map != nullptr && std::all_of(map->begin(), map->end(), hasTextKey) ? map : nullptr;
}

const EncodableValue* valueFor(const EncodableMap& map, std::string_view key) {
  for (const EncodableEntry& entry : map) {
    if (entry.key.text() == key) {
      return &entry.value;
    }
  }
  return nullptr;
}

std::optional<std::string_view> textFor(const EncodableMap& map, std::string_view key) {
  const EncodableValue* value = valueFor(map, key);
  return value == nullptr ? std::nullopt : value->text();
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
