#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// The address and its type in one number, which is never 0.
inline std::uint64_t keyOf(const DeviceAddress& address) {
  std::array<std::uint8_t, sizeof(std::uint64_t)> bytes{};
  std::memcpy(bytes.data(), address.bytes.data(), address.bytes.size());
  bytes.back() = address.type == AddressType::publicAddress ? 1 : 2;
  return std::bit_cast<std::uint64_t>(bytes);
}

/// A value for each of many device addresses, in a flat hash table: a scan of weeks counts every
/// address that phones make up each quarter of an hour. With an empty value, a million addresses
/// take 16 MB.
template <typename Value>
class AddressTable {
 public:
  /// The value of an address, which is `Value()` for a new one, and whether it is new. Valid until
  /// the next call.
  std::pair<Value&, bool> tryEmplace(const DeviceAddress& address) {
    const std::uint64_t key = keyOf(address);
    Slot* slot = &slotOf(key);
    const bool isNew = slot->key == 0;
    if (isNew) {
      if (++size_ > slots_.size() / 4 * 3) {
        rebuild(slots_.size() * 2, [](const Value& /*value*/) { return true; });
        slot = &slotOf(key);
      }
      slot->key = key;
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
    std::uint64_t key = 0;  // 0 is a free slot
    [[no_unique_address]] Value value{};
  };

  /// Where `key` is, or where it belongs: the next slot is tried if one is taken.
  Slot& slotOf(std::uint64_t key) {
    // Multiplied by 2^64 over the golden ratio, neighbouring addresses lie far apart. The upper
    // bits depend on all of the key.
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    const std::size_t last = slots_.size() - 1;
    auto place = static_cast<std::size_t>(key * kGolden >> std::countl_zero(std::uint64_t{last}));
    while (slots_[place].key != 0 && slots_[place].key != key) {
      place = (place + 1) & last;
    }
    return slots_[place];
  }

  template <typename Predicate>
  void rebuild(std::size_t slotCount, const Predicate& isKept) {
    for (const Slot& slot : std::exchange(slots_, std::vector<Slot>(slotCount))) {
      if (slot.key != 0 && isKept(slot.value)) {
        slotOf(slot.key) = slot;
      }
    }
  }

  static constexpr std::size_t kFirstSlots = 1024;
  std::vector<Slot> slots_ = std::vector<Slot>(kFirstSlots);  // their number is a power of two
  std::size_t size_ = 0;
};

}  // namespace nimbrel
