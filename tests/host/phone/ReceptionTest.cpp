#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Classes/text/UuidText.hpp"
#include "host/phone/Phone.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

/// Notes what the phone did with each advertisement: "discovered" where a scan told the plug-in,
/// then the outcomes of the scan and of the location service.
class Receptions : public testing::Test, public PhoneObserver {
 protected:
  void logged(std::string_view /*line*/) override {}
  void requested(const Request& /*request*/) override {}
  void discovered(const CBPeripheral& /*peripheral*/, const CBAdvertisementData& data) override {
    const auto* bytes = std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData);
    told += bytes == nullptr ? "without data, " : "with data, ";
  }
  void heard(const Reception& reception) override {
    constexpr const char* kScan[] = {"deaf", "withheld", "coalesced", "discovered"};
    constexpr const char* kRanging[] = {"deaf", "noFrame", "hidden", "unranged", "ranged"};
    told.append(reception.name.has_value() ? std::string(*reception.name) + ", " : "");
    told.append(kScan[static_cast<int>(reception.scan)]).append(" / ");
    told.append(kRanging[static_cast<int>(reception.ranging)]);
  }

  void start(const Phone::Setup& setup) {
    central.reset();
    location.reset();
    phone = std::make_unique<Phone>(setup, queue, *this);
    central = phone->makeCentralManager({});
    location = phone->makeLocationManager();
  }
  void scan() { central->scanForPeripherals(std::nullopt, {}); }
  void range(const char* uuid) { location->startRangingBeaconsIn({*parseUuid(uuid), "region"}); }

  std::string outcomeOf(std::string_view manufacturerData, bool isScanResponse = false,
                        std::string_view name = "") {
    told.clear();
    const Bytes data = withLength(hex("FF") + hex(manufacturerData)) +
                       (name.empty() ? Bytes{} : withLength(hex("09") + text(name)));
    phone->hear({{}, {}, -60, isScanResponse, data});
    return told;
  }

  static constexpr const char* kFrame = "4C00 0215 E2C56DB5DFFB48D2B060D0F5A71096E0 0001 0007 C5";
  static constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";
  static constexpr bool kScanResponse = true;

  MainQueue queue;
  std::string told;
  std::unique_ptr<Phone> phone;
  std::unique_ptr<CBCentralManager> central;
  std::unique_ptr<CLLocationManager> location;
};

TEST_F(Receptions, TellsWhatBothServicesDid) {
  start({});
  EXPECT_EQ(outcomeOf(kFrame), "deaf / unranged");
  scan();
  range("E2C56DB5-DFFB-48D2-B060-D0F5A71096E1");
  EXPECT_EQ(outcomeOf(kFrame), "with data, discovered / unranged");
  range(kUuid);
  EXPECT_EQ(outcomeOf(kFrame), "coalesced / ranged");
  EXPECT_EQ(outcomeOf("5900 01"), "with data, discovered / noFrame");
  EXPECT_EQ(outcomeOf(kFrame, kScanResponse), "coalesced / hidden");
  EXPECT_EQ(outcomeOf("4C00 10", kScanResponse), "coalesced / noFrame");
  EXPECT_EQ(outcomeOf("5900", false, "Desk"), "with data, Desk, discovered / noFrame");
}

TEST_F(Receptions, TellsOfAPhoneThatWithholdsOrHearsNothing) {
  Phone::Setup setup;
  setup.withholdsBeacons = true;
  start(setup);
  range(kUuid);
  EXPECT_EQ(outcomeOf(kFrame), "deaf / ranged");
  scan();
  EXPECT_EQ(outcomeOf(kFrame), "withheld / ranged");
  EXPECT_EQ(outcomeOf("5900 01", kScanResponse), "without data, discovered / noFrame");
  phone->location().changeAuthorization(CLAuthorizationStatus::denied);
  EXPECT_EQ(outcomeOf(kFrame), "withheld / deaf");
  phone->location().changeAuthorization(CLAuthorizationStatus::authorizedWhenInUse);
  phone->bluetooth().changeState(CBManagerState::poweredOff);
  EXPECT_EQ(outcomeOf(kFrame), "deaf / deaf");
}

}  // namespace
}  // namespace nimbrel
