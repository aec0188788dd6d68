#include "tests/host/phone/PhoneTest.hpp"

namespace nimbrel::testing_support {
namespace {

using namespace std::chrono_literals;

class WithholdingPhone : public PhoneTest {
 protected:
  WithholdingPhone() {
    Phone::Setup setup;
    setup.withholdsBeacons = true;
    start(setup);
    managers->central->scanForPeripherals(std::nullopt, {});
  }
};

TEST_F(WithholdingPhone, HandsNoIBeaconFrameToAScan) {
  hear(named("Lamp") + made(beaconFrame()));
  EXPECT_EQ(told(), Lines{});
  hear(named("Lamp"), -60, kScanResponse);
  EXPECT_EQ(told(), Lines{"found Lamp -"}) << "what the scan response brings is no frame";
  hear(made(hex("5900 01")));
  EXPECT_EQ(told(), Lines{"found Lamp 590001"});
}

class Scan : public PhoneTest {
 protected:
  Scan() { managers->central->scanForPeripherals(std::nullopt, {}); }
};

TEST_F(Scan, DiscoversAnUnchangedDeviceOnceASecond) {
  hear(named("Lamp"));
  EXPECT_EQ(told(), Lines{"found Lamp -"});
  for (int second = 0; second < 3; ++second) {
    pass(1s - 1us);
    hear(named("Lamp"));
    EXPECT_EQ(told(), Lines{});
    pass(1us);
    hear(named("Lamp"));
    EXPECT_EQ(told(), Lines{"found Lamp -"});
  }
}

TEST_F(Scan, DiscoversAChangedDeviceAtOnce) {
  const std::pair<Bytes, const char*> cases[] = {
      {named("Lamp") + made(hex("590001")), "found Lamp 590001"},
      {named("Lamp") + made(hex("590002")), "found Lamp 590002"},
      {named("Lamp"), "found Lamp -"},
      {named("Torch"), "found Torch -"},
  };
  for (const auto& [data, expected] : cases) {
    hear(data);
    hear(data);
    EXPECT_EQ(told(), Lines{expected});
  }
}

TEST_F(Scan, IsOfOneManager) {
  const auto others = Managers::on(*phone);
  queue.drain();
  others->told.clear();
  hear(named("Lamp"));
  EXPECT_EQ(others->told, Lines{});
  others->central->scanForPeripherals(std::nullopt, {});
  managers->central->stopScan();
  told();
  hear(named("Torch"));
  EXPECT_EQ(told(), Lines{});
  EXPECT_EQ(others->told, Lines{"found Torch -"});
}

TEST_F(Scan, SeesTheScanResponseBehindTheAdvertisementBefore16Dot4) {
  for (const std::int64_t minor : {3, 4}) {
    Phone::Setup setup;
    setup.systemVersion = {16, minor, 0};
    start(setup);
    managers->central->scanForPeripherals(std::nullopt, {});
    hear(made(hex("590001")));
    hear(made(hex("590002")), -60, kScanResponse);
    EXPECT_EQ(told().back(), minor == 3 ? "found - 590001590002" : "found - 590001");
  }
}

TEST_F(Scan, HearsNothingWhileBluetoothIsOff) {
  phone->bluetooth().changeState(CBManagerState::poweredOff);
  hear(named("Lamp"));
  EXPECT_EQ(told(), Lines{"state 4"});
  phone->bluetooth().changeState(CBManagerState::poweredOn);
  hear(named("Lamp"));
  EXPECT_EQ(told(), (Lines{"state 5", "found Lamp -"}));
}

}  // namespace
}  // namespace nimbrel::testing_support
