#include <gtest/gtest.h>

#include <string>

#include "host/air/Devices.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

constexpr bool response = true;

/// "name|manufacturer data", with "*" where the report itself carries it and "-" for what is
/// absent.
class DevicesSeen : public testing::Test {
 protected:
  std::string seen(const Bytes& data, bool isScanResponse = false,
                   const DeviceAddress& address = {}) {
    const auto sighting = devices.sight({.time = {},
                                         .address = address,
                                         .rssi = -60,
                                         .isScanResponse = isScanResponse,
                                         .data = data});
    return std::string(sighting.name.value_or("-")) + "|" +
           (sighting.manufacturerData ? toHex(*sighting.manufacturerData) : "-") +
           (sighting.carriesManufacturerData ? "*" : "");
  }
  static Bytes named(std::string_view name) { return withLength(hex("09") + text(name)); }
  static Bytes shortened(std::string_view name) { return withLength(hex("08") + text(name)); }
  static Bytes made(std::string_view digits) { return withLength(hex("FF") + hex(digits)); }

  Devices devices;
};

TEST_F(DevicesSeen, ByWhatOneReportCarries) {
  struct {
    const char* what;
    Bytes data;
    const char* expected;
  } const cases[] = {
      {"nothing", {}, "-|-"},
      {"other structures", hex("020106 03FF4C00 03020F18"), "-|4C00*"},
      {"the complete name wins", shortened("Lam") + named("Lamp") + shortened("La"), "Lamp|-"},
      {"the first manufacturer data wins", made("0102") + made("0304"), "-|0102*"},
      {"a length of zero ends it", made("0102") + hex("00") + named("Lamp"), "-|0102*"},
      {"a structure that overruns is left out", made("0102") + hex("0509 4C61"), "-|0102*"},
      {"empty manufacturer data is some", made(""), "-|*"},
      {"an empty name is none", named(""), "-|-"},
      {"zeros after the name are padding", named(std::string_view("Lamp\0\0", 6)), "Lamp|-"},
      {"UTF-8", named("Lämpchen \u65e5 \U0001F4A1"), "Lämpchen \u65e5 \U0001F4A1|-"},
      {"a byte that is not UTF-8", named("L\xE4mpchen"), "L\uFFFDmpchen|-"},
      {"a character that is cut", shortened("L\xF0\x9F\x92"), "L\uFFFD\uFFFD\uFFFD|-"},
      {"overlong, surrogate, beyond Unicode", named("\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80"),
       "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD|-"},
  };
  for (const auto& [what, data, expected] : cases) {
    devices = {};
    EXPECT_EQ(seen(data), expected) << what;
  }
}

TEST_F(DevicesSeen, PutTogetherFromAdvertisementAndScanResponse) {
  EXPECT_EQ(seen(made("0102")), "-|0102*");
  EXPECT_EQ(seen(named("Lamp"), response), "Lamp|0102");
  EXPECT_EQ(seen(made("0304")), "Lamp|0304*");
  EXPECT_EQ(seen(made("0506"), response), "Lamp|0304");
  EXPECT_EQ(seen({}), "Lamp|0506");
  EXPECT_EQ(seen(made("0708"), response), "Lamp|0708*");
  EXPECT_EQ(seen({}, response), "Lamp|-");
}

TEST_F(DevicesSeen, UnderTheirOwnNameBeforeThatOfTheResponse) {
  EXPECT_EQ(seen(shortened("La")), "La|-");
  EXPECT_EQ(seen(named("Lamp"), response), "Lamp|-");
  EXPECT_EQ(seen(shortened("La")), "Lamp|-");
  EXPECT_EQ(seen(named("Torch")), "Torch|-");
  EXPECT_EQ(seen(named("Lamp"), response), "Torch|-");
  EXPECT_EQ(seen(named("Candle")), "Candle|-");
  EXPECT_EQ(seen({}), "Candle|-");
  EXPECT_EQ(seen(named("Lamp"), response), "Lamp|-");
}

TEST_F(DevicesSeen, ApartByAddressAndItsType) {
  const DeviceAddress address{{1, 2, 3, 4, 5, 6}, AddressType::publicAddress};
  seen(named("Lamp"), false, address);
  EXPECT_EQ(seen({}, false, {address.bytes, AddressType::randomAddress}), "-|-");
  EXPECT_EQ(seen({}, false, {{1, 2, 3, 4, 5, 7}, AddressType::publicAddress}), "-|-");
  EXPECT_EQ(seen({}, false, address), "Lamp|-");
  EXPECT_EQ(devices.count(), 3U);
}

}  // namespace
}  // namespace nimbrel
