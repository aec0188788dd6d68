#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// Returns the map in `value`, or null if there is none or one of its keys is not a text. Valid as
/// long as `value` is.
const EncodableMap* textKeyedMap(const EncodableValue& value);

/// Returns the value of a text key, or null if there is none. Valid as long as `map` is.
const EncodableValue* valueFor(const EncodableMap& map, std::string_view key);

/// The same for values of type `T`: also null if the value is of another type.
template <typename T>
const T* valueFor(const EncodableMap& map, std::string_view key) {
  static_assert(!std::is_convertible_v<T, std::string_view>, "texts are of two types: see textFor");
  const EncodableValue* value = valueFor(map, key);
  return value == nullptr ? nullptr : std::get_if<T>(value);
}

/// Returns the value of a text key if it is a text. Valid as long as `map` is.
std::optional<std::string_view> textFor(const EncodableMap& map, std::string_view key);

/// Returns the value of a text key if it converts to a 64-bit integer without loss: an integer, or
/// a floating-point number that is whole and in range. A boolean does not count as a number.
std::optional<std::int64_t> integerFor(const EncodableMap& map, std::string_view key);

}  // namespace nimbrel
