#include "tests/host/phone/PhoneTest.hpp"

namespace nimbrel::testing_support {
namespace {

using namespace std::chrono_literals;

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

}  // namespace
}  // namespace nimbrel::testing_support
