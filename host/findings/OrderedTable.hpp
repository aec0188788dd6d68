#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace nimbrel {

/// Elements in the order in which they came, each of which is found by its member `kKey`. They
/// never move. A flat hash table of their places makes it some 10 bytes for each of a million.
template <typename Element, auto kKey, typename Hash>
class OrderedTable {
 public:
  using Key = std::remove_cvref_t<decltype(std::declval<Element>().*kKey)>;

  /// The place of the element with that key, which is made if there is none, and whether it is new.
  std::pair<std::uint32_t, bool> tryEmplace(const Key& key) {
    std::uint32_t place = places_[slotOf(key)];
    const bool isNew = place == kFree;
    if (isNew) {
      place = static_cast<std::uint32_t>(elements_.size());
      elements_.emplace_back().*kKey = key;
      if (elements_.size() > places_.size() / 4 * 3) {
        grow();
      } else {
        places_[slotOf(key)] = place;
      }
    }
    return {place, isNew};
  }

  [[nodiscard]] std::optional<std::uint32_t> find(const Key& key) const {
    const std::uint32_t place = places_[slotOf(key)];
    return place == kFree ? std::nullopt : std::optional(place);
  }

  [[nodiscard]] Element& operator[](std::uint32_t place) { return elements_[place]; }
  [[nodiscard]] const std::deque<Element>& elements() const { return elements_; }

 private:
  static constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();

  /// Where the place of `key` is, or where it belongs: the next slot is tried if one is taken.
  [[nodiscard]] std::size_t slotOf(const Key& key) const {
    // Multiplied by 2^64 over the golden ratio, neighbouring keys lie far apart. The upper bits
    // depend on all of the hash.
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    const std::size_t last = places_.size() - 1;
    auto slot = static_cast<std::size_t>(std::uint64_t{Hash()(key)} * kGolden >>
                                         std::countl_zero(std::uint64_t{last}));
    while (places_[slot] != kFree && elements_[places_[slot]].*kKey != key) {
      slot = (slot + 1) & last;
    }
    return slot;
  }

  void grow() {
    places_.assign(places_.size() * 2, kFree);
    for (std::uint32_t place = 0; place < elements_.size(); ++place) {
      places_[slotOf(elements_[place].*kKey)] = place;
    }
  }

  static constexpr std::size_t kFirstSlots = 16;
  std::deque<Element> elements_;
  std::vector<std::uint32_t> places_ =
      std::vector<std::uint32_t>(kFirstSlots, kFree);  // their number is a power of two
};

}  // namespace nimbrel
