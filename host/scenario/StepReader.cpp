#include "host/scenario/StepReader.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "host/air/AddressText.hpp"
#include "host/phone/StateNames.hpp"

namespace nimbrel {

namespace {

actions::SetClock readClock(JsonFields& step) {
  // As many seconds as there are microseconds in 64 bits.
  constexpr double kFarthest = 9e12;
  const double seconds = step.number("clock");
  if (!(std::abs(seconds) <= kFarthest)) {
    throw LineFault("\"clock\" is more than 9000000000000 seconds away from 1970");
  }
  return {MainQueue::Time(std::llround(seconds * 1e6))};
}

actions::Discover readDiscovery(const Json& json) {
  JsonFields fields(json, "\"discover\"");
  actions::Discover discover;
  discover.peripheral.identifier = fields.uuid("identifier");
  discover.peripheral.name = fields.optionalText("name");
  if (const Json* data = fields.find("manufacturerData")) {
    if (data->is_string()) {
      discover.manufacturerData = fields.bytes("manufacturerData");
    } else {
      discover.manufacturerData = nullptr;
    }
  }
  discover.rssi = fields.number("rssi");
  fields.requireNoOthers();
  return discover;
}

constexpr std::array<std::string_view, 4> kProximities = {"unknown", "immediate", "near", "far"};

CLBeacon readBeacon(const Json& json) {
  JsonFields fields(json, "an element of \"beacons\"");
  CLBeacon beacon;
  beacon.uuid = fields.uuid("uuid");
  beacon.major = fields.integer("major");
  beacon.minor = fields.integer("minor");
  beacon.rssi = fields.integer("rssi");
  beacon.accuracy = fields.number("accuracy");
  beacon.proximity = CLProximity{fields.wordOrInteger("proximity", kProximities)};
  fields.requireNoOthers();
  return beacon;
}

actions::Range readRange(const Json& json) {
  JsonFields fields(json, "\"range\"");
  actions::Range range;
  range.region = fields.text("region");
  const Json& beacons = fields.need("beacons");
  if (!beacons.is_array()) {
    throw LineFault("\"beacons\" is not a list");
  }
  for (const Json& beacon : beacons) {
    range.beacons.push_back(readBeacon(beacon));
  }
  fields.requireNoOthers();
  return range;
}

DeviceAddress readAddress(JsonFields& fields) {
  const auto bytes = parseAddress(fields.text("address"));
  if (!bytes.has_value()) {
    throw LineFault("\"address\" is not a device address such as \"C6:55:44:33:22:11\"");
  }
  DeviceAddress address{*bytes};
  if (fields.has("addressType")) {
    address.type = fields.word("addressType", {"public", "random"}) == 0
                       ? AddressType::publicAddress
                       : AddressType::randomAddress;
  }
  return address;
}

actions::Advertise::Data readData(JsonFields& fields) {
  // A controller reports no more of one advertisement (Bluetooth Core Specification, volume 4,
  // part E, section 7.8.57).
  constexpr std::size_t kLongest = 1650;
  actions::Advertise::Data data{fields.bytes("data"), fields.boolean("scanResponse", false)};
  if (data.bytes.size() > kLongest) {
    throw LineFault("\"data\" is longer than the 1650 bytes of the longest advertisement");
  }
  if (fields.has("name") || fields.has("manufacturerData")) {
    throw LineFault(
        "\"data\" stands in place of \"name\" and \"manufacturerData\"; leave them out");
  }
  return data;
}

actions::Advertise readAdvertise(JsonFields& step) {
  JsonFields fields(step.need("advertise"), "\"advertise\"");
  actions::Advertise advertise;
  advertise.address = readAddress(fields);
  if (fields.has("data")) {
    advertise.payload = readData(fields);
  } else {
    actions::Advertise::Parts parts{fields.optionalText("name"), std::nullopt};
    if (fields.has("manufacturerData")) {
      parts.manufacturerData = fields.bytes("manufacturerData");
    }
    if (fields.has("scanResponse")) {
      throw LineFault("\"scanResponse\" goes with \"data\" only");
    }
    advertise.payload = std::move(parts);
  }
  advertise.rssi = fields.number("rssi");
  fields.requireNoOthers();

  if (step.has("every") != step.has("for")) {
    throw LineFault("\"every\" and \"for\" stand together or not at all");
  }
  if (step.has("every")) {
    advertise.every = step.time("every");
    if (*advertise.every == MainQueue::Time::zero()) {
      throw LineFault("\"every\" is not above 0");
    }
    advertise.lasting = step.time("for");
  }
  return advertise;
}

Step::Action readFailure(JsonFields& step) {
  const std::size_t kind = step.word("fail", {"location", "monitoring", "ranging"});
  const NSError error{step.text("error")};
  if (kind == 0) {
    return actions::FailLocation{error};
  }
  if (kind == 1) {
    return actions::FailMonitoring{step.optionalText("region"), error};
  }
  return actions::FailRanging{step.text("region"), error};
}

Step::Action readCall(JsonFields& step) {
  actions::Call call{step.text("call"), std::nullopt};
  if (const Json* arguments = step.find("arguments")) {
    call.arguments = encodableFrom(*arguments);
  }
  return call;
}

Step::Action readWait(JsonFields& step) {
  if (!step.boolean("wait")) {
    throw LineFault("\"wait\" is not true");
  }
  return actions::Wait{};
}

struct ActionReader {
  std::string_view name;
  Step::Action (*read)(JsonFields& step);
};

constexpr std::array<ActionReader, 12> kActions{{
    {"call", readCall},
    {"listen", [](auto& step) -> Step::Action { return actions::Listen{step.boolean("listen")}; }},
    {"authorization",
     [](auto& step) -> Step::Action {
       return actions::ChangeAuthorization{readAuthorization(step, "authorization")};
     }},
    {"bluetooth",
     [](auto& step) -> Step::Action { return actions::ChangeBluetooth{readBluetoothState(step)}; }},
    {"clock", [](auto& step) -> Step::Action { return readClock(step); }},
    {"discover", [](auto& step) -> Step::Action { return readDiscovery(step.need("discover")); }},
    {"range", [](auto& step) -> Step::Action { return readRange(step.need("range")); }},
    {"enter",
     [](auto& step) -> Step::Action {
       return actions::Cross{true, step.text("enter"), step.boolean("beacon", true)};
     }},
    {"exit",
     [](auto& step) -> Step::Action {
       return actions::Cross{false, step.text("exit"), step.boolean("beacon", true)};
     }},
    {"fail", readFailure},
    {"advertise", [](auto& step) -> Step::Action { return readAdvertise(step); }},
    {"wait", readWait},
}};

const ActionReader& actionOf(const Json& json) {
  const ActionReader* given = nullptr;
  std::string known;
  for (const ActionReader& action : kActions) {
    known += (known.empty() ? "" : ", ") + inQuotes(action.name);
    if (!json.contains(action.name)) {
      continue;
    }
    if (given != nullptr) {
      throw LineFault("a step has two actions, " + inQuotes(given->name) + " and " +
                      inQuotes(action.name));
    }
    given = &action;
  }
  if (given == nullptr) {
    for (const auto& [key, value] : json.items()) {
      if (key != "at" && key != "after") {
        throw LineFault("a step has the unknown key " + inQuotes(key) +
                        " and no action; the actions are " + known);
      }
    }
    throw LineFault("a step has no action; the actions are " + known);
  }
  return *given;
}

MainQueue::Time readTime(JsonFields& step, MainQueue::Time before, MainQueue::Time otherwise) {
  const bool hasTime = step.has("at");
  if (step.has("after")) {
    if (hasTime) {
      throw LineFault("a step has both \"at\" and \"after\"; leave one of them out");
    }
    return before + step.time("after");
  }
  const MainQueue::Time at = hasTime ? step.time("at") : otherwise;
  if (at < before) {
    throw LineFault("\"at\" lies before the step above it");
  }
  return at;
}

}  // namespace

Step readStep(const Json& json, MainQueue::Time before, MainQueue::Time otherwise) {
  JsonFields fields(json, "a step");
  const ActionReader& action = actionOf(json);
  Step step{readTime(fields, before, otherwise), action.read(fields)};
  fields.requireNoOthers();
  return step;
}

CLAuthorizationStatus readAuthorization(JsonFields& fields, std::string_view key) {
  return CLAuthorizationStatus{fields.wordOrInteger(key, kAuthorizations)};
}

CBManagerState readBluetoothState(JsonFields& fields) {
  return CBManagerState{fields.wordOrInteger("bluetooth", kBluetoothStates)};
}

}  // namespace nimbrel
