#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace nimbrel {

/// A value for each of many keys, in one flat hash table: in a crowd of a million devices, the wait
/// for memory is most of the cost of a look-up. `Hash` gives 64 bits that differ for most keys.
template <typename Key, typename Value, typename Hash>
class FlatTable {
 public:
  /// The value of a key, which is `Value()` for a new one, and whether it is new. Valid until the
  /// next call.
  std::pair<Value&, bool> tryEmplace(const Key& key) {
    Slot* slot = &slotOf(key);
    const bool isNew = !slot->isTaken;
    if (isNew) {
      if (++size_ > slots_.size() / 4 * 3) {
        rebuild(slots_.size() * 2, [](const Value& /*value*/) { return true; });
        slot = &slotOf(key);
      }
      slot->key = key;
      slot->isTaken = true;
    }
    return {slot->value, isNew};
  }

  template <typename Predicate>
  void eraseIf(const Predicate& isErased) {
    size_ = 0;
    rebuild(slots_.size(), [&](const Value& value) {
      const bool isKept = !isErased(value);
      size_ += isKept ? 1 : 0;
      return isKept;
    });
  }

  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  struct Slot {
    Key key{};
    bool isTaken = false;
    [[no_unique_address]] Value value{};
  };

  /// Where `key` is, or where it belongs: the next slot is tried if one is taken.
  Slot& slotOf(const Key& key) {
    // Multiplied by 2^64 over the golden ratio, neighbouring keys lie far apart. The upper bits
    // depend on all of the hash.
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    const std::size_t last = slots_.size() - 1;
    auto place =
        static_cast<std::size_t>(Hash()(key) * kGolden >> std::countl_zero(std::uint64_t{last}));
    while (slots_[place].isTaken && slots_[place].key != key) {
      place = (place + 1) & last;
    }
    return slots_[place];
  }

  template <typename Predicate>
  void rebuild(std::size_t slotCount, const Predicate& isKept) {
    for (const Slot& slot : std::exchange(slots_, std::vector<Slot>(slotCount))) {
      if (slot.isTaken && isKept(slot.value)) {
        slotOf(slot.key) = slot;
      }
    }
  }

  static constexpr std::size_t kFirstSlots = 64;
  std::vector<Slot> slots_ = std::vector<Slot>(kFirstSlots);  // their number is a power of two
  std::size_t size_ = 0;
};

}  // namespace nimbrel
