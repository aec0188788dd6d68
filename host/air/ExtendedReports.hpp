#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// Joins extended advertising data that a controller reports in several fragments.
/// Source: Bluetooth Core Specification, volume 4, part E, section 7.7.65.13.
class ExtendedReports {
 public:
  enum class DataStatus : std::uint8_t { complete, moreToCome, truncated };

  /// What fragments of one advertisement have in common.
  struct Source {
    DeviceAddress address;
    std::uint8_t advertisingSet = 0;
    bool isScanResponse = false;

    friend bool operator==(const Source&, const Source&) = default;
  };

  /// From the event type of a report. The value without a meaning ends the data, too.
  static DataStatus dataStatus(unsigned eventType) {
    const unsigned status = eventType >> 5 & 3U;
    return status < 2 ? static_cast<DataStatus>(status) : DataStatus::truncated;
  }

  /// Takes a fragment. Returns all of the data with the last one, null before. Truncated data is
  /// returned as far as it was received. Valid until the next call, or while `fragment` is.
  std::optional<std::span<const std::uint8_t>> join(const Source& source, DataStatus status,
                                                    std::span<const std::uint8_t> fragment) {
    // The common case: the data is whole, and no search is needed.
    if (unfinished_.empty() && status != DataStatus::moreToCome) {
      return fragment;
    }
    return joinUnfinished(source, status, fragment);
  }

 private:
  struct Unfinished {
    Source source;
    std::vector<std::uint8_t> data;
  };

  std::optional<std::span<const std::uint8_t>> joinUnfinished(
      const Source& source, DataStatus status, std::span<const std::uint8_t> fragment);

  std::vector<Unfinished> unfinished_;  // The longest waiting first.
  std::vector<std::uint8_t> joined_;
};

}  // namespace nimbrel
