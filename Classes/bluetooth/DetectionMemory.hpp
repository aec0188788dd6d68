#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Classes/text/UuidText.hpp"

namespace nimbrel {

/// When a device last passed the thinning, and how strong its signal was.
struct Detection {
  double timestamp;  // seconds since 1970
  double rssi;       // dBm
};

/// The last detection of each device, by the text of its identifier. A flat hash table with one
/// cache line for each device: in a crowd, the wait for memory is most of the cost of a look-up.
class DetectionMemory {
 public:
  /// The detection of a device, and whether it is new: it is `detection` then. Valid until the next
  /// call.
  std::pair<Detection&, bool> tryEmplace(const UuidText& identifier, const Detection& detection) {
    if (size_ >= slots_.size() / 4 * 3) {
      grow();
    }
    Slot& slot = slotOf(identifier);
    const bool isNew = !slot.detection.has_value();
    if (isNew) {
      slot = {identifier, detection};
      ++size_;
    }
    return {*slot.detection, isNew};
  }

 private:
  struct alignas(64) Slot {
    UuidText identifier;
    std::optional<Detection> detection;  // absent in a free slot
  };

  /// Where a device is, or where it belongs: the next slot is tried if one is taken.
  Slot& slotOf(const UuidText& identifier) {
    const std::size_t last = slots_.size() - 1;
    std::size_t place = std::hash<std::string_view>()(identifier) & last;
    while (slots_[place].detection.has_value() && slots_[place].identifier != identifier) {
      place = (place + 1) & last;
    }
    return slots_[place];
  }

  void grow() {
    for (const Slot& slot : std::exchange(slots_, std::vector<Slot>(slots_.size() * 2))) {
      if (slot.detection.has_value()) {
        slotOf(slot.identifier) = slot;
      }
    }
  }

  static constexpr std::size_t kFirstSlots = 64;
  std::vector<Slot> slots_ = std::vector<Slot>(kFirstSlots);  // their number is a power of two
  std::size_t size_ = 0;
};

}  // namespace nimbrel
