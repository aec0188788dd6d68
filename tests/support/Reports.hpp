#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/host/air/Bytes.hpp"
#include "tests/support/Command.hpp"

namespace nimbrel::testing_support {

using Json = nlohmann::json;

inline constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";
inline constexpr const char* kUuidDigits = "E2C56DB5DFFB48D2B060D0F5A71096E0";
inline constexpr const char* kOther = "00000000-0000-0000-0000-000000000001";
inline constexpr const char* kOtherDigits = "00000000000000000000000000000001";
inline constexpr const char* kScanResponse = "04 01";

/// Seconds since 2023-11-14 22:13:20 as a btsnoop time stamp.
inline std::uint64_t stamp(double seconds) {
  return 0x00DCDDB30F2F8000U +
         static_cast<std::uint64_t>(static_cast<std::int64_t>((1'700'000'000 + seconds) * 1e6));
}

/// A report of the device C6:55:44:33:22:`last`. `kind` has the types of event and address.
inline Bytes report(double seconds, const char* last, const Bytes& data, int rssi = -60,
                    const char* kind = "00 01") {
  return btsnoopRecord(
      3, stamp(seconds),
      hex("04") + event(hex("02 01") + hex(kind) + hex(last) + hex("22334455C6") +
                        withLength(data) + Bytes{static_cast<std::uint8_t>(rssi)}));
}

inline Bytes maker(const std::string& digits) { return made(hex(digits)); }
/// `numbers` are the digits of major and minor.
inline Bytes iBeacon(const std::string& numbers = "00010002",
                     const std::string& uuid = kUuidDigits) {
  return maker("4C000215" + uuid + numbers + "C5");
}
inline Bytes altBeacon(const std::string& company = "1801") {
  return maker(company + "BEAC" + kUuidDigits + "00010002C500");
}

/// The content of a recording with these records.
inline std::string recording(const Bytes& records) {
  const Bytes bytes = btsnoop(1002, records);
  return {bytes.begin(), bytes.end()};
}

inline Outcome runOver(const Bytes& records, std::vector<std::string> options,
                       const char* command) {
  options.insert(options.begin(), {command, "-"});
  return runCommand(options, recording(records));
}

/// Holds `json` to the entries of `expected`, a JSON object, and lets it have more.
inline void expectEntries(const Json& json, const char* expected) {
  const Json entries = Json::parse(expected);
  for (const auto& [key, value] : entries.items()) {
    EXPECT_EQ(json.value(key, Json()), value) << key;
  }
}

inline std::vector<Json> jsonLines(const std::string& text) {
  std::vector<Json> all;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    all.push_back(Json::parse(line));
  }
  return all;
}

}  // namespace nimbrel::testing_support
