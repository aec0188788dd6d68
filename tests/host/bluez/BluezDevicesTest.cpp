#include <gtest/gtest.h>

#include "host/bluez/BluezDevices.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

const std::string kIBeacon = "0215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5";
const std::string kAltBeacon = "BEACE2C56DB5DFFB48D2B060D0F5A71096E000010002C500";

/// One device, and the reports that changes of its properties stand for.
class BluezDevice : public testing::Test {
 protected:
  using Properties = BluezDevices::Properties;

  static Properties made(const std::map<std::uint16_t, std::string>& companies) {
    std::map<std::uint16_t, sdbus::Variant> data;
    for (const auto& [company, digits] : companies) {
      data.emplace(company, hex(digits));
    }
    return {{"ManufacturerData", sdbus::Variant(data)}};
  }
  static Properties strength(std::int16_t rssi) { return {{"RSSI", sdbus::Variant(rssi)}}; }
  static Properties all(Properties some, Properties more) {
    some.merge(more);
    return some;
  }

  /// The report in words, or "-" if nothing was heard.
  std::string change(const Properties& properties) {
    const auto report = devices.take("dev", properties, now);
    return report ? inWords(*report) : "-";
  }

  const Properties identity{{"Address", sdbus::Variant(std::string("C4:1D:83:5A:07:E2"))},
                            {"AddressType", sdbus::Variant(std::string("public"))}};
  const Properties name{{"Name", sdbus::Variant(std::string("Lamp"))}};
  const Properties lamp = made({{0x0059, "01"}});
  BluezDevices devices;
  MainQueue::Time now{};
};

TEST_F(BluezDevice, IsHeardWhereItsPropertiesSayThatItIsOnTheAir) {
  EXPECT_EQ(change(strength(-60)), "-") << "it has no address yet";
  devices.know("dev", all(identity, all(lamp, strength(-60))), now);
  EXPECT_EQ(change(name), "-");
  EXPECT_EQ(change(strength(-61)), "C41D835A07E2 public -61 04FF59000105094C616D70");
  EXPECT_EQ(change(made({{0x0059, "02"}})), "C41D835A07E2 public -61 04FF59000205094C616D70");
  devices.withdraw("dev", {"RSSI"});
  EXPECT_EQ(change(name), "-");
  EXPECT_EQ(change(made({{0x0059, "03"}})), "C41D835A07E2 public 127 04FF59000305094C616D70");
  devices.forget("dev");
  EXPECT_EQ(change(strength(-62)), "-");
  EXPECT_EQ(change(all(identity, lamp)), "-") << "found again, but not on the air";
  EXPECT_EQ(change(strength(-63)), "C41D835A07E2 public -63 04FF590001");
  devices.forget("dev");
  EXPECT_EQ(change(all(identity, strength(-64))), "C41D835A07E2 public -64 ");
}

TEST_F(BluezDevice, ShowsBeaconFramesBeforeTheDataOfOtherCompanies) {
  const std::string shown = "C41D835A07E2 public -60 ";
  const std::string apple = "1AFF4C00" + kIBeacon;
  const std::string other = "1BFF1801" + kAltBeacon;
  change(all(identity, made({{0x0006, "01"}, {0x004C, kIBeacon}, {0x0118, kAltBeacon}})));
  EXPECT_EQ(change(strength(-60)), shown + apple + other + "04FF060001");
  EXPECT_EQ(change(strength(-60)), shown + other + apple + "04FF060001") << "each in its turn";
  change(made({{0x0006, "01"}, {0x0118, kAltBeacon}}));
  EXPECT_EQ(change(strength(-60)), shown + other + "04FF060001");
}

TEST_F(BluezDevice, IsKeptForTenMinutesAfterItWasHeard) {
  int passersBy = 0;
  const auto passBy = [&] {
    for (int count = 0; count < 256; ++count) {
      devices.know("passer-by " + std::to_string(passersBy++), identity, now);
    }
  };
  change(all(identity, strength(-60)));
  now = std::chrono::minutes(5);
  change(strength(-61));
  now = std::chrono::minutes(15) - std::chrono::microseconds(1);
  passBy();
  EXPECT_TRUE(devices.knows("dev"));
  now = std::chrono::minutes(15);
  passBy();
  EXPECT_FALSE(devices.knows("dev"));
  EXPECT_TRUE(devices.knows("passer-by 0"));
}

TEST_F(BluezDevice, LeavesOutPropertiesOfOtherTypes) {
  change(identity);
  EXPECT_EQ(change({{"RSSI", sdbus::Variant(std::int16_t{-300})},
                    {"ManufacturerData", sdbus::Variant(std::string("text"))},
                    {"Name", sdbus::Variant(7)}}),
            "C41D835A07E2 public -127 ");
}

}  // namespace
}  // namespace nimbrel
