#include "host/scenario/ScenarioWriter.hpp"

#include <algorithm>
#include <cstdint>

#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/base/JsonText.hpp"
#include "host/base/Printable.hpp"

namespace nimbrel {

namespace {

/// Exact, in as few digits as possible.
void appendSeconds(std::string& out, AirListener::Time time) {
  constexpr std::uint64_t kSecond = 1'000'000;
  const auto count = static_cast<std::uint64_t>(time.count());
  const std::uint64_t magnitude = time < AirListener::Time::zero() ? 0 - count : count;
  if (time < AirListener::Time::zero()) {
    out.push_back('-');
  }
  out.append(std::to_string(magnitude / kSecond));
  if (const std::uint64_t fraction = magnitude % kSecond; fraction != 0) {
    const std::string digits = std::to_string(kSecond + fraction);
    out.append(".").append(digits, 1, digits.find_last_not_of('0'));
  }
}

void appendHex(std::string& out, std::span<const std::uint8_t> bytes) {
  const std::size_t size = out.size();
  out.resize(size + 2 * bytes.size());
  char* end = out.data() + size;
  for (const std::uint8_t byte : bytes) {
    end = appendHexByte(end, byte);
  }
}

}  // namespace

void ScenarioWriter::begin(Time clock) {
  clockAtZero_ = clock;
  std::string& out = output_.buffer();
  out.append("# ");
  appendPrintable(out, setup_.comment);
  out.append("\n{\"phone\": {");
  if (setup_.withholdsBeacons) {
    out.append("\"withholdsBeacons\": true, ");
  }
  out.append("\"clock\": ");
  appendSeconds(out, clock);
  output_.writeLine("}}");
  if (setup_.filters.has_value()) {
    beginStep(Time::zero(), "listen").append("true");
    output_.writeLine("}");
    beginStep(Time::zero(), "call").append("\"startDetection\"");
    appendFilters();
    output_.writeLine("}");
  }
}

bool ScenarioWriter::hear(Time now, const Advertisement& advertisement) {
  setClock(now, advertisement.time);
  const bool isPublic = advertisement.address.type == AddressType::publicAddress;
  std::string& out = beginStep(now, "advertise");
  out.append("{\"address\": \"")
      .append(AddressText(advertisement.address))
      .append(isPublic ? R"(", "addressType": "public", "data": ")"
                       : R"(", "addressType": "random", "data": ")");
  appendHex(out, advertisement.data);
  out.append(advertisement.isScanResponse ? R"(", "scanResponse": true, "rssi": )"
                                          : R"(", "rssi": )");
  appendJson(out, std::int64_t{advertisement.rssi});
  output_.writeLine("}}");
  return true;
}

void ScenarioWriter::end(Time now, Time clock, Time over) {
  setClock(now, clock);
  const Time last = setup_.filters.has_value() ? over : now;
  if (last > last_) {
    beginStep(last, "wait").append("true");
    output_.writeLine("}");
  }
}

void ScenarioWriter::appendFilters() {
  if (setup_.filters->empty()) {
    return;
  }
  std::string& out = output_.buffer();
  out.append(R"(, "arguments": {"filters": [)");
  std::string_view between = "{";
  for (const EncodableValue& filter : *setup_.filters) {
    for (const EncodableEntry& entry : std::get<EncodableMap>(filter)) {
      out.append(between);
      appendJson(out, *entry.key.text());
      out.append(": ");
      appendJson(out, entry.value);
      between = ", ";
    }
    between = "}, {";
  }
  out.append("}]}");
}

void ScenarioWriter::setClock(Time now, Time clock) {
  if (clock - now != clockAtZero_) {
    clockAtZero_ = clock - now;
    appendSeconds(beginStep(now, "clock"), clock);
    output_.writeLine("}");
  }
}

std::string& ScenarioWriter::beginStep(Time at, std::string_view action) {
  std::string& out = output_.buffer();
  out.append("{\"at\": ");
  appendSeconds(out, at);
  last_ = at;
  return out.append(", \"").append(action).append("\": ");
}

}  // namespace nimbrel
