#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// What can happen in a scenario: one type for each action of a step.
namespace actions {

struct Call {
  std::string method;
  std::optional<EncodableValue> arguments;
};
struct Listen {
  bool on;
};
struct ChangeAuthorization {
  CLAuthorizationStatus status;
};
struct ChangeBluetooth {
  CBManagerState state;
};
struct SetClock {
  /// Since 1970.
  MainQueue::Time clock;
};
struct Discover {
  CBPeripheral peripheral;
  /// Absent, bytes, or (null) a value of another kind.
  std::variant<std::monostate, std::vector<std::uint8_t>, std::nullptr_t> manufacturerData;
  double rssi;
};
struct Range {
  std::string region;
  std::vector<CLBeacon> beacons;
};
struct Cross {
  bool enters;
  std::string region;
  bool isBeaconRegion;
};
struct FailLocation {
  NSError error;
};
struct FailMonitoring {
  std::optional<std::string> region;
  NSError error;
};
struct FailRanging {
  std::string region;
  NSError error;
};
struct Advertise {
  /// What a phone makes of the advertising data.
  struct Parts {
    std::optional<std::string> name;
    std::optional<std::vector<std::uint8_t>> manufacturerData;
  };
  /// The advertising data as it is on the air.
  struct Data {
    std::vector<std::uint8_t> bytes;
    bool isScanResponse = false;
  };

  DeviceAddress address;
  std::variant<Parts, Data> payload;
  /// In dBm.
  double rssi = 0.0;
  /// The strength as a controller can report it, a whole number from -128 to 127.
  [[nodiscard]] std::int8_t wholeRssi() const {
    return static_cast<std::int8_t>(std::clamp(std::round(rssi), -128.0, 127.0));
  }
  /// Absent for a single advertisement.
  std::optional<MainQueue::Time> every;
  /// How long the repeats go on.
  MainQueue::Time lasting{};
};
struct Wait {};

}  // namespace actions

/// One action and its time since the start.
struct Step {
  using Action =
      std::variant<actions::Call, actions::Listen, actions::ChangeAuthorization,
                   actions::ChangeBluetooth, actions::SetClock, actions::Discover, actions::Range,
                   actions::Cross, actions::FailLocation, actions::FailMonitoring,
                   actions::FailRanging, actions::Advertise, actions::Wait>;

  MainQueue::Time at;
  Action action;
};

}  // namespace nimbrel
