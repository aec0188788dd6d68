#include "host/phone/AddressSet.hpp"

#include <utility>

namespace nimbrel {
namespace {

/// The address and its type in one number, which is never 0.
std::uint64_t keyOf(const DeviceAddress& address) {
  std::uint64_t key = address.type == AddressType::publicAddress ? 1 : 2;
  for (const std::uint8_t byte : address.bytes) {
    key = key << 8U | byte;
  }
  return key;
}

}  // namespace

void AddressSet::insert(const DeviceAddress& address) {
  const std::uint64_t key = keyOf(address);
  std::uint64_t& slot = slotOf(key);
  if (slot == key) {
    return;
  }
  slot = key;
  ++size_;
  if (size_ > slots_.size() / 4 * 3) {
    grow();
  }
}

std::uint64_t& AddressSet::slotOf(std::uint64_t key) {
  // Multiplied by 2^64 over the golden ratio, neighbouring addresses lie far apart, and the upper
  // bits depend on all of the key.
  constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
  const std::size_t last = slots_.size() - 1;
  std::size_t place = static_cast<std::size_t>(key * kGolden >> 32U) & last;
  while (slots_[place] != 0 && slots_[place] != key) {
    place = (place + 1) & last;
  }
  return slots_[place];
}

void AddressSet::grow() {
  const auto before = std::exchange(slots_, std::vector<std::uint64_t>(slots_.size() * 2));
  for (const std::uint64_t key : before) {
    if (key != 0) {
      slotOf(key) = key;
    }
  }
}

}  // namespace nimbrel
