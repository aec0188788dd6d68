// Properties of devices as BlueZ sends them over D-Bus, up to the advertising data made of them.

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fuzz/Input.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/bluez/BluezDevices.hpp"

namespace {

using namespace nimbrel;
using fuzz::Input;

/// The bus passes valid UTF-8 alone.
std::string text(Input& input) {
  std::string valid;
  for (const char character : input.text()) {
    valid += character > 0 ? std::string(1, character) : std::string("\u00E4");
  }
  return valid;
}

std::map<std::uint16_t, sdbus::Variant> companies(Input& input) {
  std::map<std::uint16_t, sdbus::Variant> data;
  for (unsigned count = input.byte() % 4U; count > 0; --count) {
    const auto company = static_cast<std::uint16_t>(input.byte() | input.byte() << 8U);
    data[company] =
        input.byte() % 8 == 0 ? sdbus::Variant(text(input)) : sdbus::Variant(input.bytes());
  }
  return data;
}

sdbus::Variant value(Input& input) {
  switch (input.byte() % 6) {
    case 0:
      return sdbus::Variant(text(input));
    case 1:
      return sdbus::Variant(static_cast<std::int16_t>(input.byte() | input.byte() << 8U));
    case 2:
      return sdbus::Variant(companies(input));
    case 3:
      return sdbus::Variant(input.bytes());
    case 4:
      return sdbus::Variant(std::vector<std::string>{text(input)});
    default:
      return sdbus::Variant(input.byte() % 2 == 0);
  }
}

/// A device as BlueZ introduces it.
BluezDevices::Properties beacon() {
  const std::map<std::uint16_t, sdbus::Variant> frames{
      {0x004C, sdbus::Variant(hex("0215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5"))},
      {0x0118, sdbus::Variant(hex("BEACE2C56DB5DFFB48D2B060D0F5A71096E000010002C500"))}};
  return {{"Address", sdbus::Variant(std::string("C4:1D:83:5A:07:E2"))},
          {"AddressType", sdbus::Variant(std::string("public"))},
          {"RSSI", sdbus::Variant(std::int16_t{-60})},
          {"ManufacturerData", sdbus::Variant(frames)}};
}

/// Of any kind, in half of the cases added to those of a beacon.
BluezDevices::Properties properties(Input& input) {
  static constexpr std::array kNames{"Address", "AddressType",      "Name", "Alias",
                                     "RSSI",    "ManufacturerData", "UUIDs"};
  const auto choice = input.byte();
  BluezDevices::Properties all = choice < 128 ? BluezDevices::Properties() : beacon();
  for (unsigned count = choice % 8U; count > 0; --count) {
    const std::string name = kNames[input.byte() % kNames.size()];
    all[name] = value(input);
  }
  return all;
}

void requireReadable(const Advertisement& report) {
  fuzz::require(report.rssi != -128);
  // Each structure is whole, so that none hides those behind it.
  for (std::size_t place = 0; place < report.data.size(); place += 1U + report.data[place]) {
    fuzz::require(report.data[place] > 0 && place + report.data[place] < report.data.size());
  }
  const auto parsed = AdvertisingData::parse(report.data);
  fuzz::require(!parsed.manufacturerData || parsed.manufacturerData->size() >= 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  BluezDevices devices;
  MainQueue::Time now{};
  while (!input.isEmpty()) {
    const auto action = input.byte();
    const std::string path = "/org/bluez/hci0/dev_" + std::to_string(action / 8U);
    switch (action % 8) {
      case 0:
        devices.know(path, properties(input), now);
        fuzz::require(devices.knows(path));
        break;
      case 1:
        devices.withdraw(path, {"RSSI", "ManufacturerData", text(input)});
        break;
      case 2:
        devices.forget(path);
        fuzz::require(!devices.knows(path));
        break;
      case 3:
        now += std::chrono::seconds(input.byte());
        break;
      default:
        if (const auto report = devices.take(path, properties(input), now)) {
          requireReadable(*report);
        }
    }
  }
  return 0;
}
