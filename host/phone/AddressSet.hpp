#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// Addresses of devices. A million of them take 16 MB: a scan of weeks counts every address that
/// phones make up each quarter of an hour.
class AddressSet {
 public:
  void insert(const DeviceAddress& address);
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  /// Where `key` is, or where it belongs.
  std::uint64_t& slotOf(std::uint64_t key);
  void grow();

  static constexpr std::size_t kFirstSlots = 1024;
  /// A hash table with the next slot tried where one is taken. 0 is a free slot. Their number is a
  /// power of two.
  std::vector<std::uint64_t> slots_ = std::vector<std::uint64_t>(kFirstSlots);
  std::size_t size_ = 0;
};

}  // namespace nimbrel
