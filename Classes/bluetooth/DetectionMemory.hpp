#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "Classes/model/FlatTable.hpp"
#include "platform/Foundation.hpp"

namespace nimbrel {

/// When a device last passed the thinning, and how strong its signal was.
struct Detection {
  double timestamp = 0.0;  // seconds since 1970
  double rssi = 0.0;       // dBm
};

struct UuidHash {
  std::uint64_t operator()(const UUID& uuid) const {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(uuid.bytes);
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    return halves[0] * kOdd ^ halves[1];
  }
};

/// The last detection of each device, by its identifier.
using DetectionMemory = FlatTable<UUID, Detection, UuidHash>;

}  // namespace nimbrel
