#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/phone/Phone.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// What a scenario has happen, one alternative for each action of a step.
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
  DeviceAddress address;
  std::optional<std::string> name;
  std::optional<std::vector<std::uint8_t>> manufacturerData;
  double rssi;
  /// Absent for a single advertisement.
  std::optional<MainQueue::Time> every;
  MainQueue::Time until;
};
struct Wait {};

}  // namespace actions

struct Step {
  using Action = std::variant<actions::Call, actions::Listen, actions::ChangeAuthorization,
                              actions::ChangeBluetooth, actions::Discover, actions::Range,
                              actions::Cross, actions::FailLocation, actions::FailMonitoring,
                              actions::FailRanging, actions::Advertise, actions::Wait>;

  MainQueue::Time at;
  Action action;
};

/// A play for the application, the phone and the air around the plug-in.
struct Scenario {
  Phone::Setup phone;
  /// False: the plug-in is used without ever being registered.
  bool isRegistered = true;
  std::vector<Step> steps;

  /// Reads JSON Lines. `name` stands for the text in messages. Throws InputError, whose message
  /// begins with "NAME:LINE: ", at the first thing that is wrong.
  static Scenario parse(std::string_view text, const std::string& name);
};

}  // namespace nimbrel
