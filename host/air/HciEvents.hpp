#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "host/air/Advertisement.hpp"
#include "host/air/ByteCursor.hpp"
#include "host/air/ExtendedReports.hpp"

namespace nimbrel {

/// Reads the advertisements in HCI events: LE Advertising Report and LE Extended Advertising
/// Report, either of which may hold several. A report that is cut short is used as far as it goes.
/// Source: Bluetooth Core Specification, volume 4, part E, sections 7.7.65.2 and 7.7.65.13.
class HciEvents {
 public:
  /// Starts reading an event received at `time`. `event` starts with the event code. REQUIRES: it
  /// stays valid while `next` is called.
  void begin(std::chrono::microseconds time, std::span<const std::uint8_t> event);

  /// The next advertisement of the event; false after the last. Its data is valid until the next
  /// call of either operation.
  bool next(Advertisement& advertisement) { return reportsLeft_ > 0 && nextReport(advertisement); }

 private:
  bool nextReport(Advertisement& advertisement);
  bool nextLegacy(Advertisement& advertisement);
  bool nextExtended(Advertisement& advertisement);

  std::chrono::microseconds receptionTime_{};
  bool isExtended_ = false;
  unsigned reportsLeft_ = 0;
  ByteCursor reports_;
  ExtendedReports extendedReports_;
};

}  // namespace nimbrel
