#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// The map that `value` holds, if it holds one whose keys are all text; otherwise null.
const EncodableMap* textKeyedMap(const EncodableValue& value);

/// The value under a text key, or null where there is none.
const EncodableValue* valueFor(const EncodableMap& map, std::string_view key);

/// The value of kind `T` under a text key, or null where there is none of that kind.
template <typename T>
const T* valueFor(const EncodableMap& map, std::string_view key) {
  const EncodableValue* value = valueFor(map, key);
  return value == nullptr ? nullptr : std::get_if<T>(value);
}

/// The number under a text key, if it converts to 64 bits without loss: an integer, or a
/// floating-point number that is whole and in range. A boolean is no number.
std::optional<std::int64_t> integerFor(const EncodableMap& map, std::string_view key);

}  // namespace nimbrel
