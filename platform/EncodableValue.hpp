#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/PlainText.hpp"

namespace nimbrel {

class EncodableKey;
struct EncodableEntry;
struct EncodableValue;

using EncodableBytes = std::vector<std::uint8_t>;
using EncodableList = std::vector<EncodableValue>;

/// A map whose keys are values of any kind, no two of them equal. It keeps its entries in the order
/// in which they were added; two maps with the same entries are equal in any order.
///
/// Entries stand in one vector: channel maps are so small that looking at each entry is faster than
/// a tree or a hash table.
class EncodableMap {
 public:
  EncodableMap() = default;
  /// REQUIRES: no two of the keys are equal.
  EncodableMap(std::initializer_list<EncodableEntry> entries);

  /// Adds an entry, whose value is built in place from what is given.
  /// REQUIRES: the map has no equal key.
  template <typename Value>
  void emplace_back(PlainLiteral key, Value&& value);
  template <typename Value>
  void emplace_back(EncodableKey key, Value&& value);
  void reserve(std::size_t count);

  [[nodiscard]] const EncodableEntry* begin() const;
  [[nodiscard]] const EncodableEntry* end() const;
  [[nodiscard]] std::size_t size() const;

  friend bool operator==(const EncodableMap& left, const EncodableMap& right);

 private:
  [[nodiscard]] bool hasDistinctKeys() const;

  std::vector<EncodableEntry> entries_;
};

/// A value of a channel's codec: null, boolean, integer, floating-point number, text (UTF-8),
/// bytes, list or map. A boolean is not a number, and an integer is not a floating-point number.
/// Texts are equal if their bytes are, whichever of the two types holds them.
/// Source: the value kinds of Flutter's standard message codec.
struct EncodableValue : std::variant<std::monostate, bool, std::int64_t, double, PlainText,
                                     std::string, EncodableBytes, EncodableList, EncodableMap> {
  using variant::variant;
  EncodableValue(const char* text);
  EncodableValue(std::string_view text);

  /// The text, whichever type holds it. Absent for a value that is no text. Valid as long as the
  /// value is.
  [[nodiscard]] std::optional<std::string_view> text() const;

  friend bool operator==(const EncodableValue& left, const EncodableValue& right);
};

/// The key of an entry: a value of any kind, never changed. A literal is not copied.
class EncodableKey {
 public:
  EncodableKey(PlainLiteral text) : literal_(text) {}
  EncodableKey(EncodableValue value);

  [[nodiscard]] bool isLiteral() const { return value_ == nullptr; }
  /// Absent for a key that is no text. Valid as long as the key or a copy of it is.
  [[nodiscard]] std::optional<std::string_view> text() const;
  [[nodiscard]] EncodableValue value() const;

  /// Equal if their values are: a literal equals any key of the same text.
  friend bool operator==(const EncodableKey& left, const EncodableKey& right);

 private:
  std::string_view literal_;
  std::shared_ptr<const EncodableValue> value_;  // null for a literal
};

struct EncodableEntry {
  template <typename Value>
  EncodableEntry(PlainLiteral keyFrom, Value&& valueFrom)
      : key(keyFrom), value(std::forward<Value>(valueFrom)) {}
  template <typename Value>
  EncodableEntry(EncodableKey keyFrom, Value&& valueFrom)
      : key(std::move(keyFrom)), value(std::forward<Value>(valueFrom)) {}

  EncodableKey key;
  EncodableValue value;

  friend bool operator==(const EncodableEntry&, const EncodableEntry&) = default;
};

inline EncodableValue::EncodableValue(const char* text)
    : variant(std::in_place_type<std::string>, text) {}
inline EncodableValue::EncodableValue(std::string_view text)
    : variant(std::in_place_type<std::string>, text) {}

inline std::optional<std::string_view> EncodableValue::text() const {
  if (const auto* plain = std::get_if<PlainText>(this)) {
    return *plain;
  }
  const auto* text = std::get_if<std::string>(this);
  return text == nullptr ? std::nullopt : std::optional<std::string_view>(*text);
}

inline bool operator==(const EncodableValue& left, const EncodableValue& right) {
  const auto text = left.text();
  using Variant = EncodableValue::variant;
  return text.has_value() ? text == right.text()
                          : static_cast<const Variant&>(left) == static_cast<const Variant&>(right);
}

inline EncodableKey::EncodableKey(EncodableValue value)
    : value_(std::make_shared<const EncodableValue>(std::move(value))) {}

inline EncodableValue EncodableKey::value() const {
  return isLiteral() ? EncodableValue(literal_) : *value_;
}

inline std::optional<std::string_view> EncodableKey::text() const {
  return isLiteral() ? std::optional(literal_) : value_->text();
}

inline bool operator==(const EncodableKey& left, const EncodableKey& right) {
  const auto text = left.text();
  return text.has_value() ? text == right.text()
                          : !right.text().has_value() && *left.value_ == *right.value_;
}

inline EncodableMap::EncodableMap(std::initializer_list<EncodableEntry> entries)
    : entries_(entries) {
  assert(hasDistinctKeys());
}

template <typename Value>
void EncodableMap::emplace_back(PlainLiteral key, Value&& value) {
  entries_.emplace_back(key, std::forward<Value>(value));
  assert(hasDistinctKeys());
}

template <typename Value>
void EncodableMap::emplace_back(EncodableKey key, Value&& value) {
  entries_.emplace_back(std::move(key), std::forward<Value>(value));
  assert(hasDistinctKeys());
}

inline void EncodableMap::reserve(std::size_t count) { entries_.reserve(count); }
inline const EncodableEntry* EncodableMap::begin() const { return entries_.data(); }
inline const EncodableEntry* EncodableMap::end() const { return entries_.data() + entries_.size(); }
inline std::size_t EncodableMap::size() const { return entries_.size(); }

inline bool EncodableMap::hasDistinctKeys() const {
  return std::all_of(begin(), end(), [this](const EncodableEntry& entry) {
    return std::none_of(begin(), &entry, [&](const auto& other) { return other.key == entry.key; });
  });
}

inline bool operator==(const EncodableMap& left, const EncodableMap& right) {
  return std::is_permutation(left.begin(), left.end(), right.begin(), right.end());
}

}  // namespace nimbrel
