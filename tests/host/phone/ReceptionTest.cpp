#include "Classes/text/UuidText.hpp"
#include "tests/host/phone/PhoneTest.hpp"

namespace nimbrel::testing_support {
namespace {

/// Notes what the phone did with an advertisement: "discovered" where a scan told the plug-in, then
/// the outcomes of the scan and of the location service.
class Receptions : public PhoneTest {
 protected:
  void discovered(const CBPeripheral& /*peripheral*/, const CBAdvertisementData& data) override {
    const auto* bytes = std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData);
    outcome += bytes == nullptr ? "without data, " : "with data, ";
  }
  void heard(const Reception& reception) override {
    constexpr const char* kScan[] = {"deaf", "withheld", "coalesced", "discovered"};
    constexpr const char* kRanging[] = {"deaf", "noFrame", "hidden", "unranged", "ranged"};
    outcome.append(reception.name.has_value() ? std::string(*reception.name) + ", " : "");
    outcome.append(kScan[static_cast<int>(reception.scan)]).append(" / ");
    outcome.append(kRanging[static_cast<int>(reception.ranging)]);
  }

  void scan() { managers->central->scanForPeripherals(std::nullopt, {}); }
  void range(const char* uuid) {
    managers->location->startRangingBeaconsIn({*parseUuid(uuid), "region"});
  }

  std::string outcomeOf(const Bytes& manufacturerData, bool isScanResponse = false,
                        const Bytes& more = {}) {
    outcome.clear();
    hear(made(manufacturerData) + more, -60, isScanResponse);
    return outcome;
  }

  const Bytes frame = beaconFrame();
  std::string outcome;
};

TEST_F(Receptions, TellsWhatBothServicesDid) {
  EXPECT_EQ(outcomeOf(frame), "deaf / unranged");
  scan();
  range("E2C56DB5-DFFB-48D2-B060-D0F5A71096E1");
  EXPECT_EQ(outcomeOf(frame), "with data, discovered / unranged");
  range("E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");
  EXPECT_EQ(outcomeOf(frame), "coalesced / ranged");
  EXPECT_EQ(outcomeOf(hex("5900 01")), "with data, discovered / noFrame");
  EXPECT_EQ(outcomeOf(frame, kScanResponse), "coalesced / hidden");
  EXPECT_EQ(outcomeOf(hex("4C00 10"), kScanResponse), "coalesced / noFrame");
  EXPECT_EQ(outcomeOf(hex("5900"), false, named("Desk")), "with data, Desk, discovered / noFrame");
}

TEST_F(Receptions, TellsOfAPhoneThatWithholdsOrHearsNothing) {
  Phone::Setup setup;
  setup.withholdsBeacons = true;
  start(setup);
  range("E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");
  EXPECT_EQ(outcomeOf(frame), "deaf / ranged");
  scan();
  EXPECT_EQ(outcomeOf(frame), "withheld / ranged");
  EXPECT_EQ(outcomeOf(hex("5900 01"), kScanResponse), "without data, discovered / noFrame");
  phone->location().changeAuthorization(CLAuthorizationStatus::denied);
  EXPECT_EQ(outcomeOf(frame), "withheld / deaf");
  phone->location().changeAuthorization(CLAuthorizationStatus::authorizedWhenInUse);
  phone->bluetooth().changeState(CBManagerState::poweredOff);
  EXPECT_EQ(outcomeOf(frame), "deaf / deaf");
}

}  // namespace
}  // namespace nimbrel::testing_support
