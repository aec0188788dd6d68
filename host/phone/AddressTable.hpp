#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>

#include "Classes/model/FlatTable.hpp"
#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// The address and its type in one number, which compares faster than they do.
inline std::uint64_t keyOf(const DeviceAddress& address) {
  std::array<std::uint8_t, sizeof(std::uint64_t)> bytes{};
  std::memcpy(bytes.data(), address.bytes.data(), address.bytes.size());
  bytes.back() = static_cast<std::uint8_t>(address.type);
  return std::bit_cast<std::uint64_t>(bytes);
}

/// A value for each of many device addresses, by their `keyOf`: a scan of weeks counts every
/// address that phones make up each quarter of an hour.
template <typename Value>
using AddressTable = FlatTable<std::uint64_t, Value, std::identity>;

}  // namespace nimbrel
