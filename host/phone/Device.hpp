#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// What a phone remembers of one device. A scan of a crowded place hears a million of them, so the
/// byte strings of a device stand one behind the other: in the device itself, as those of a beacon,
/// or in one block of memory if they are longer.
class Device {
 public:
  enum class Part : std::uint8_t {
    name,        // in UTF-8
    advertised,  // manufacturer data of the last advertisement, company identifier first
    responded,   // manufacturer data of the last scan response
  };
  using Bytes = std::span<const std::uint8_t>;

  /// The parts stand one behind the other in this order. The views are valid until the next change
  /// of any part.
  [[nodiscard]] std::optional<Bytes> part(Part part) const {
    std::size_t offset = 0;
    for (std::size_t before = 0; before < indexOf(part); ++before) {
      offset += has(before) ? sizes_[before] : 0;
    }
    if (!has(indexOf(part))) {
      return std::nullopt;
    }
    return Bytes(bytes() + offset, sizes_[indexOf(part)]);
  }
  [[nodiscard]] std::optional<std::string_view> name() const;

  /// Whether two parts are the same bytes, or both absent.
  static bool areEqual(const std::optional<Bytes>& left, const std::optional<Bytes>& right);

  /// Returns whether that made a difference. `bytes` may be a view of another part.
  bool set(Part changed, std::optional<Bytes> bytes);

  /// How good the name is, from 1; 0 once the last report of the kind that it is from has none.
  std::uint8_t nameRank = 0;
  bool isNameFromScanResponse = false;
  /// Whether scans have not seen the payload yet.
  bool isChanged = true;
  MainQueue::Time lastHeard{};
  MainQueue::Time lastDiscovered{};

 private:
  static constexpr std::uint32_t kAbsent = UINT32_MAX;

  static std::size_t indexOf(Part part) { return static_cast<std::size_t>(part); }
  [[nodiscard]] bool has(std::size_t index) const { return sizes_[index] != kAbsent; }
  [[nodiscard]] const std::uint8_t* bytes() const {
    return block_ != nullptr ? block_.get() : few_.data();
  }

  std::array<std::uint32_t, 3> sizes_{kAbsent, kAbsent, kAbsent};
  std::array<std::uint8_t, 28> few_{};
  std::unique_ptr<std::uint8_t[]> block_;  // null if the few are enough
};

}  // namespace nimbrel
