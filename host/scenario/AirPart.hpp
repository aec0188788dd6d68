#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>

#include "host/scenario/AirListener.hpp"
#include "host/scenario/Anonymizer.hpp"

namespace nimbrel {

/// Passes on a part of the advertisements, for example those of one device or of one minute.
class AirPart final : public AirListener {
 public:
  struct Selection {
    /// Addresses of devices, whatever their type. Empty: all devices.
    std::set<std::array<std::uint8_t, 6>> devices;
    /// Where the part begins.
    Time from{};
    /// Absent: the part goes on to the end.
    std::optional<Time> duration;
    /// Passes on what an Anonymizer makes of the advertisements.
    bool isAnonymous = false;
  };

  /// Both arguments outlive the part.
  AirPart(const Selection& selection, AirListener& listener);

  void begin(Time clock) override;
  bool hear(Time now, const Advertisement& advertisement) override;
  void end(Time now, Time clock, Time over) override;

 private:
  void beginWhereReached(Time now);
  bool endWhereReached(Time now);

  const Selection& selection_;
  AirListener& listener_;
  std::optional<Anonymizer> anonymizer_;
  Time until_;
  Time clockAtZero_{};  // the wall clock's reading less the time since the start
  bool hasBegun_ = false;
  bool hasEnded_ = false;
};

}  // namespace nimbrel
