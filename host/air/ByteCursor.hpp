#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nimbrel {

/// Reads bytes from front to back. A read beyond the end returns zeros, moves the cursor to the end
/// and clears `ok`, so that one check after several reads is enough.
class ByteCursor {
 public:
  ByteCursor() = default;
  explicit ByteCursor(std::span<const std::uint8_t> bytes) : unread_(bytes) {}

  [[nodiscard]] bool ok() const { return within_; }
  [[nodiscard]] std::span<const std::uint8_t> rest() const { return unread_; }

  template <std::unsigned_integral Integer>
  Integer integer(std::endian order = std::endian::little) {
    return order == std::endian::native ? std::bit_cast<Integer>(array<sizeof(Integer)>())
                                        : std::bit_cast<Integer>(reversed<sizeof(Integer)>());
  }
  std::uint8_t byte() { return integer<std::uint8_t>(); }

  /// The last byte read comes first: what goes over the air with the least significant byte first
  /// in the order in which people write it.
  template <std::size_t count>
  std::array<std::uint8_t, count> reversed() {
    std::array<std::uint8_t, count> bytes{};
    std::ranges::reverse_copy(take(count), bytes.begin());
    return bytes;
  }

  /// All `count` bytes, or none if fewer are left.
  std::span<const std::uint8_t> take(std::size_t count) {
    if (count > unread_.size()) {
      within_ = false;
      unread_ = {};
      return {};
    }
    const auto taken = unread_.first(count);
    unread_ = unread_.subspan(count);
    return taken;
  }

  /// Up to `count` bytes, fewer at the end. Leaves `ok` as it is.
  std::span<const std::uint8_t> takeUpTo(std::size_t count) {
    return take(std::min(count, unread_.size()));
  }

 private:
  template <std::size_t count>
  std::array<std::uint8_t, count> array() {
    std::array<std::uint8_t, count> bytes{};
    std::ranges::copy(take(count), bytes.begin());
    return bytes;
  }

  std::span<const std::uint8_t> unread_;
  bool within_ = true;
};

}  // namespace nimbrel
