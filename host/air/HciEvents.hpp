#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "host/air/Advertisement.hpp"
#include "host/air/ByteCursor.hpp"
#include "host/air/ExtendedReports.hpp"

namespace nimbrel {

/// Makes advertisements of HCI events: of the LE Advertising Report and the LE Extended Advertising
/// Report, either of which may hold several. Of a report that is cut short, what is there is used.
/// Source: Bluetooth Core Specification, volume 4, part E, sections 7.7.65.2 and 7.7.65.13.
class HciEvents {
 public:
  /// Starts on an event received at `time`, from its event code on. `event` stays valid while
  /// `next` is called.
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
