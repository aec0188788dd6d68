#include "host/cli/Scenario.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <utility>

#include "Classes/text/UuidText.hpp"
#include "host/air/InputError.hpp"

namespace nimbrel {

namespace {

using Json = nlohmann::json;

/// What is wrong with a line; the reader of lines adds where.
class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

EncodableValue encodable(const Json& json, int depth = 0) {
  if (depth > 256) {
    throw Fault("is nested more than 256 deep");
  }
  switch (json.type()) {
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
      return json.get<std::int64_t>();
    case Json::value_t::number_unsigned:
      // Beyond 64 bits with a sign, a number is a floating-point number.
      return json.get<std::uint64_t>() <= INT64_MAX ? EncodableValue(json.get<std::int64_t>())
                                                    : EncodableValue(json.get<double>());
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string:
      return json.get<std::string>();
    case Json::value_t::array: {
      EncodableList list;
      for (const Json& element : json) {
        list.push_back(encodable(element, depth + 1));
      }
      return list;
    }
    case Json::value_t::object: {
      EncodableMap map;
      for (const auto& [key, value] : json.items()) {
        map.push_back({key, encodable(value, depth + 1)});
      }
      return map;
    }
    default:
      return std::monostate{};
  }
}

MainQueue::Time seconds(double value, std::string_view key) {
  constexpr double longest = 1e9;  // some thirty years
  if (!(value >= 0.0 && value <= longest)) {
    throw Fault(inQuotes(key) + " is not a number of seconds from 0 to 1000000000");
  }
  return MainQueue::Time(std::llround(value * 1e6));
}

/// The keys of one object, each taken once; what is left in the end is unknown.
class Fields {
 public:
  /// `what` names the object in messages.
  Fields(const Json& object, std::string what) : object_(object), what_(std::move(what)) {
    if (!object.is_object()) {
      throw Fault(what_ + " is not a JSON object");
    }
  }

  [[nodiscard]] bool has(std::string_view key) const { return object_.contains(key); }

  const Json* find(std::string_view key) {
    const auto found = object_.find(key);
    if (found == object_.end()) {
      return nullptr;
    }
    taken_.emplace(key);
    return &*found;
  }

  const Json& need(std::string_view key) {
    const Json* value = find(key);
    if (value == nullptr) {
      throw Fault(what_ + " lacks the key " + inQuotes(key));
    }
    return *value;
  }

  std::string text(std::string_view key) {
    const Json& value = need(key);
    if (!value.is_string()) {
      throw Fault(inQuotes(key) + " is not a text");
    }
    return value.get<std::string>();
  }

  std::optional<std::string> optionalText(std::string_view key) {
    return has(key) ? std::optional(text(key)) : std::nullopt;
  }

  bool boolean(std::string_view key) {
    const Json& value = need(key);
    if (!value.is_boolean()) {
      throw Fault(inQuotes(key) + " is neither true nor false");
    }
    return value.get<bool>();
  }

  bool boolean(std::string_view key, bool otherwise) { return has(key) ? boolean(key) : otherwise; }

  double number(std::string_view key) {
    const Json& value = need(key);
    if (!value.is_number()) {
      throw Fault(inQuotes(key) + " is not a number");
    }
    return value.get<double>();
  }

  std::int64_t integer(std::string_view key) {
    const Json& value = need(key);
    if (!isInteger(value)) {
      throw Fault(inQuotes(key) + " is not an integer of 64 bits");
    }
    return value.get<std::int64_t>();
  }

  MainQueue::Time time(std::string_view key) { return seconds(number(key), key); }

  UUID uuid(std::string_view key) {
    const auto uuid = parseUuid(text(key));
    if (!uuid.has_value()) {
      throw Fault(inQuotes(key) + " is not a UUID of the form 8-4-4-4-12 hexadecimal digits");
    }
    return *uuid;
  }

  std::vector<std::uint8_t> bytes(std::string_view key) {
    const std::string digits = text(key);
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    bool isHex = digits.size() % 2 == 0;
    for (std::size_t index = 0; isHex && index < bytes.size(); ++index) {
      const int high = hexDigitValue(digits[index * 2]);
      const int low = hexDigitValue(digits[index * 2 + 1]);
      isHex = high >= 0 && low >= 0;
      bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
    }
    if (!isHex) {
      throw Fault(inQuotes(key) + " is not an even number of hexadecimal digits");
    }
    return bytes;
  }

  /// The place of a word in `words`, from 0, or the integer that stands instead of one.
  std::int64_t wordOrInteger(std::string_view key, std::initializer_list<std::string_view> words) {
    const Json& value = need(key);
    if (isInteger(value)) {
      return value.get<std::int64_t>();
    }
    if (value.is_string()) {
      const auto* word = std::find(words.begin(), words.end(), value.get_ref<const std::string&>());
      if (word != words.end()) {
        return word - words.begin();
      }
    }
    std::string known;
    for (const std::string_view word : words) {
      known += (known.empty() ? "" : ", ") + inQuotes(word);
    }
    throw Fault(inQuotes(key) + " is neither one of " + known + " nor an integer");
  }

  void allTaken() const {
    for (const auto& [key, value] : object_.items()) {
      if (!taken_.contains(key)) {
        throw Fault(what_ + " has the unknown key " + inQuotes(key));
      }
    }
  }

 private:
  static bool isInteger(const Json& value) {
    return value.is_number_integer() &&
           (!value.is_number_unsigned() || value.get<std::uint64_t>() <= std::uint64_t{INT64_MAX});
  }

  const Json& object_;
  std::string what_;
  std::set<std::string, std::less<>> taken_;
};

CLAuthorizationStatus authorization(Fields& fields, std::string_view key) {
  return CLAuthorizationStatus{
      fields.wordOrInteger(key, {"notDetermined", "restricted", "denied", "always", "whenInUse"})};
}

CBManagerState bluetoothState(Fields& fields) {
  return CBManagerState{fields.wordOrInteger(
      "bluetooth",
      {"unknown", "resetting", "unsupported", "unauthorized", "poweredOff", "poweredOn"})};
}

OperatingSystemVersion systemVersion(const std::string& text) {
  std::array<std::int64_t, 3> numbers{};
  const char* position = text.data();
  const char* end = position + text.size();
  for (std::int64_t& number : numbers) {
    const auto [after, error] = std::from_chars(position, end, number);
    if (error != std::errc{} || number < 0) {
      break;
    }
    if (after == end) {
      return {numbers[0], numbers[1], numbers[2]};
    }
    if (*after != '.') {
      break;
    }
    position = after + 1;
  }
  throw Fault("\"systemVersion\" is not a version such as \"13\", \"13.7\" or \"14.0.1\"");
}

void parsePhone(const Json& json, Scenario& scenario) {
  Fields fields(json, "\"phone\"");
  Phone::Setup& phone = scenario.phone;
  if (const auto version = fields.optionalText("systemVersion")) {
    phone.systemVersion = systemVersion(*version);
  }
  if (fields.has("authorization")) {
    phone.location.authorization = authorization(fields, "authorization");
    phone.location.classAuthorization = phone.location.authorization;
  }
  if (fields.has("classAuthorization")) {
    phone.location.classAuthorization = authorization(fields, "classAuthorization");
  }
  if (fields.has("bluetooth")) {
    phone.bluetooth = bluetoothState(fields);
  }
  if (fields.has("clock")) {
    phone.clock = fields.number("clock");
  }
  if (fields.has("regionExitDelay")) {
    phone.location.regionExitDelay = fields.time("regionExitDelay");
  }
  scenario.isRegistered = fields.boolean("registered", true);
  phone.hasLocationManager = fields.boolean("locationManager", true);
  fields.allTaken();
}

actions::Discover parseDiscover(const Json& json) {
  Fields fields(json, "\"discover\"");
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
  fields.allTaken();
  return discover;
}

CLBeacon parseBeacon(const Json& json) {
  Fields fields(json, "an element of \"beacons\"");
  CLBeacon beacon;
  beacon.uuid = fields.uuid("uuid");
  beacon.major = fields.integer("major");
  beacon.minor = fields.integer("minor");
  beacon.rssi = fields.integer("rssi");
  beacon.accuracy = fields.number("accuracy");
  beacon.proximity =
      CLProximity{fields.wordOrInteger("proximity", {"unknown", "immediate", "near", "far"})};
  fields.allTaken();
  return beacon;
}

actions::Range parseRange(const Json& json) {
  Fields fields(json, "\"range\"");
  actions::Range range;
  range.region = fields.text("region");
  const Json& beacons = fields.need("beacons");
  if (!beacons.is_array()) {
    throw Fault("\"beacons\" is not a list");
  }
  for (const Json& beacon : beacons) {
    range.beacons.push_back(parseBeacon(beacon));
  }
  fields.allTaken();
  return range;
}

DeviceAddress parseAddress(const std::string& text) {
  DeviceAddress address;
  bool isAddress = text.size() == address.bytes.size() * 3 - 1;
  for (std::size_t index = 0; isAddress && index < address.bytes.size(); ++index) {
    const int high = hexDigitValue(text[index * 3]);
    const int low = hexDigitValue(text[index * 3 + 1]);
    const bool isLast = index + 1 == address.bytes.size();
    isAddress = high >= 0 && low >= 0 && (isLast || text[index * 3 + 2] == ':');
    address.bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  if (!isAddress) {
    throw Fault("\"address\" is not a device address such as \"C6:55:44:33:22:11\"");
  }
  return address;
}

actions::Advertise parseAdvertise(Fields& step, MainQueue::Time at) {
  Fields fields(step.need("advertise"), "\"advertise\"");
  actions::Advertise advertise;
  advertise.address = parseAddress(fields.text("address"));
  const std::string type = fields.optionalText("addressType").value_or("random");
  if (type != "random" && type != "public") {
    throw Fault("\"addressType\" is neither \"public\" nor \"random\"");
  }
  advertise.address.type =
      type == "public" ? AddressType::publicAddress : AddressType::randomAddress;
  advertise.name = fields.optionalText("name");
  if (fields.has("manufacturerData")) {
    advertise.manufacturerData = fields.bytes("manufacturerData");
  }
  advertise.rssi = fields.number("rssi");
  fields.allTaken();

  if (step.has("every") != step.has("for")) {
    throw Fault("\"every\" and \"for\" stand together or not at all");
  }
  advertise.until = at;
  if (step.has("every")) {
    advertise.every = step.time("every");
    if (*advertise.every == MainQueue::Time::zero()) {
      throw Fault("\"every\" is not above 0");
    }
    advertise.until = at + step.time("for");
  }
  return advertise;
}

Step::Action parseFailure(Fields& step) {
  const std::string kind = step.text("fail");
  const NSError error{step.text("error")};
  if (kind == "location") {
    return actions::FailLocation{error};
  }
  if (kind == "monitoring") {
    return actions::FailMonitoring{step.optionalText("region"), error};
  }
  if (kind == "ranging") {
    return actions::FailRanging{step.text("region"), error};
  }
  throw Fault("\"fail\" is none of \"location\", \"monitoring\" and \"ranging\"");
}

Step::Action parseAction(std::string_view action, Fields& step, MainQueue::Time at) {
  if (action == "call") {
    actions::Call call{step.text("call"), std::nullopt};
    if (const Json* arguments = step.find("arguments")) {
      call.arguments = encodable(*arguments);
    }
    return call;
  }
  if (action == "listen") {
    return actions::Listen{step.boolean("listen")};
  }
  if (action == "authorization") {
    return actions::ChangeAuthorization{authorization(step, "authorization")};
  }
  if (action == "bluetooth") {
    return actions::ChangeBluetooth{bluetoothState(step)};
  }
  if (action == "discover") {
    return parseDiscover(step.need("discover"));
  }
  if (action == "range") {
    return parseRange(step.need("range"));
  }
  if (action == "enter" || action == "exit") {
    return actions::Cross{action == "enter", step.text(action), step.boolean("beacon", true)};
  }
  if (action == "fail") {
    return parseFailure(step);
  }
  if (action == "advertise") {
    return parseAdvertise(step, at);
  }
  if (!step.boolean("wait")) {
    throw Fault("\"wait\" is not true");
  }
  return actions::Wait{};
}

constexpr std::array<std::string_view, 11> kActions = {
    "call",  "listen", "authorization", "bluetooth", "discover", "range",
    "enter", "exit",   "fail",          "advertise", "wait"};

Step parseStep(const Json& json, MainQueue::Time before) {
  Fields step(json, "a step");
  const MainQueue::Time at = step.has("at") ? step.time("at") : before;
  if (at < before) {
    throw Fault("\"at\" lies before the step above it");
  }
  const auto isGiven = [&step](std::string_view action) { return step.has(action); };
  const auto action = std::find_if(kActions.begin(), kActions.end(), isGiven);
  if (action == kActions.end()) {
    // Tells a misspelt action from a missing one.
    step.allTaken();
    throw Fault("a step has no action, such as \"call\" or \"wait\"");
  }
  const auto second = std::find_if(std::next(action), kActions.end(), isGiven);
  if (second != kActions.end()) {
    throw Fault("a step has two actions, " + inQuotes(*action) + " and " + inQuotes(*second));
  }
  Step parsed{at, parseAction(*action, step, at)};
  step.allTaken();
  return parsed;
}

/// One line's JSON. A key that stands twice in one object is refused: one of its values would be
/// lost.
Json parseLine(std::string_view line) {
  std::vector<std::set<std::string>> keys;
  const auto watchKeys = [&keys](int /*depth*/, Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      keys.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      keys.pop_back();
    } else if (event == Json::parse_event_t::key &&
               !keys.back().insert(parsed.get<std::string>()).second) {
      throw Fault("the key " + inQuotes(parsed.get<std::string>()) + " stands twice in one object");
    }
    return true;
  };
  try {
    return Json::parse(line, watchKeys);
  } catch (const Json::exception& error) {
    // "[json.exception.parse_error.101] parse error at line 1, column 5: what is wrong"
    const std::string_view what = error.what();
    const std::size_t column = what.find("column ");
    throw Fault("not valid JSON: " +
                std::string(what.substr(column != std::string_view::npos ? column : 0)));
  }
}

}  // namespace

Scenario Scenario::parse(std::string_view text, const std::string& name) {
  Scenario scenario;
  MainQueue::Time before{};
  bool isFirst = true;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.find_first_not_of(" \t\r") == std::string_view::npos || line.front() == '#') {
      continue;
    }
    try {
      const Json json = parseLine(line);
      if (json.is_object() && json.contains("phone")) {
        if (!isFirst) {
          throw Fault("\"phone\" is not in the first object");
        }
        Fields fields(json, "the first object");
        parsePhone(fields.need("phone"), scenario);
        fields.allTaken();
      } else {
        scenario.steps.push_back(parseStep(json, before));
        before = scenario.steps.back().at;
      }
      isFirst = false;
    } catch (const Fault& fault) {
      throw InputError(name + ':' + std::to_string(number), fault.what());
    }
  }
  return scenario;
}

}  // namespace nimbrel
