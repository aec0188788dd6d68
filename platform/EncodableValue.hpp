#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace nimbrel {

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

  /// Adds an entry. Key and value are built in place from what is given.
  /// REQUIRES: the map has no equal key.
  template <typename Key, typename Value>
  void emplace_back(Key&& key, Value&& value);
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
/// Source: the value kinds of Flutter's standard message codec.
struct EncodableValue : std::variant<std::monostate, bool, std::int64_t, double, std::string,
                                     EncodableBytes, EncodableList, EncodableMap> {
  using variant::variant;
  EncodableValue(const char* text);
  EncodableValue(std::string_view text);
};

struct EncodableEntry {
  template <typename Key, typename Value>
  EncodableEntry(Key&& keyFrom, Value&& valueFrom)
      : key(std::forward<Key>(keyFrom)), value(std::forward<Value>(valueFrom)) {}

  EncodableValue key;
  EncodableValue value;

  friend bool operator==(const EncodableEntry&, const EncodableEntry&) = default;
};

inline EncodableValue::EncodableValue(const char* text)
    : variant(std::in_place_type<std::string>, text) {}
inline EncodableValue::EncodableValue(std::string_view text)
    : variant(std::in_place_type<std::string>, text) {}

inline EncodableMap::EncodableMap(std::initializer_list<EncodableEntry> entries)
    : entries_(entries) {
  assert(hasDistinctKeys());
}

template <typename Key, typename Value>
void EncodableMap::emplace_back(Key&& key, Value&& value) {
  entries_.emplace_back(std::forward<Key>(key), std::forward<Value>(value));
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
