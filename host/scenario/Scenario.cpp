#include "host/scenario/Scenario.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

#include "host/base/InputError.hpp"
#include "host/scenario/StepReader.hpp"

namespace nimbrel {

namespace {

OperatingSystemVersion readVersion(const std::string& text) {
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
  throw LineFault("\"systemVersion\" is not a version such as \"13\", \"13.7\" or \"14.0.1\"");
}

std::optional<CLAuthorizationStatus> readAnswer(JsonFields& fields) {
  constexpr std::array<std::optional<CLAuthorizationStatus>, 4> kAnswers{
      CLAuthorizationStatus::authorizedAlways, CLAuthorizationStatus::authorizedWhenInUse,
      CLAuthorizationStatus::denied, std::nullopt};
  return kAnswers.at(fields.word("prompt", {"always", "whenInUse", "denied", "ignored"}));
}

void readLocation(JsonFields& fields, LocationService::Setup& location) {
  if (fields.has("authorization")) {
    location.authorization = readAuthorization(fields, "authorization");
    location.classAuthorization = location.authorization;
  }
  if (fields.has("classAuthorization")) {
    location.classAuthorization = readAuthorization(fields, "classAuthorization");
  }
  if (fields.has("prompt")) {
    location.promptAnswer = readAnswer(fields);
  }
  if (fields.has("regionExitDelay")) {
    location.regionExitDelay = fields.time("regionExitDelay");
  }
}

}  // namespace

bool isSkipped(std::string_view line) {
  return line.find_first_not_of(" \t\r") == std::string_view::npos || line.front() == '#';
}

bool isPhoneLine(const Json& json) { return json.is_object() && json.contains("phone"); }

PhoneLine readPhoneLine(const Json& json) {
  JsonFields line(json, "the first object");
  JsonFields fields(line.need("phone"), "\"phone\"");
  line.requireNoOthers();
  PhoneLine read;
  Phone::Setup& phone = read.phone;
  if (fields.has("systemVersion")) {
    phone.systemVersion = readVersion(fields.text("systemVersion"));
  }
  readLocation(fields, phone.location);
  if (fields.has("bluetooth")) {
    phone.bluetooth = readBluetoothState(fields);
  }
  phone.withholdsBeacons = fields.boolean("withholdsBeacons", false);
  read.hasClock = fields.has("clock");
  if (read.hasClock) {
    phone.clock = fields.number("clock");
  }
  read.isRegistered = fields.boolean("registered", true);
  phone.hasLocationManager = fields.boolean("locationManager", true);
  fields.requireNoOthers();
  return read;
}

Scenario Scenario::parse(std::string_view text, const std::string& name) {
  Scenario scenario;
  MainQueue::Time before{};
  bool isFirst = true;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (isSkipped(line)) {
      continue;
    }
    try {
      const Json json = parseJsonLine(line);
      if (!isPhoneLine(json)) {
        scenario.steps.push_back(readStep(json, before, before));
        before = scenario.steps.back().at;
      } else if (isFirst) {
        scenario.phone = readPhoneLine(json);
      } else {
        throw LineFault("\"phone\" is not in the first object");
      }
      isFirst = false;
    } catch (const LineFault& fault) {
      throw InputError(name + ':' + std::to_string(number), fault.what());
    }
  }
  return scenario;
}

}  // namespace nimbrel
