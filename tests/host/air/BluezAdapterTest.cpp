#include <gtest/gtest.h>

#include <stdexcept>

#include "host/air/BluezAdapter.hpp"
#include "tests/support/FakeBluez.hpp"

namespace nimbrel::testing_support {
namespace {

/// An adapter of the name hci0, followed while things happen to it, and the story of that: what
/// is heard, the states, and the lines. A second of the adapter's patience takes a twentieth.
class Following : public testing::Test, public AdapterObserver {
 protected:
  Following() { bluez->addAdapter("hci0"); }

  void follow() { adapter.emplace(std::nullopt, queue, *this); }

  void hearOne() {
    bluez->addDevice("hci0/dev_1", {"C4:1D:83:5A:07:E2", -60, {{0x0059, {1}}}});
    until("heard\n");
  }

  /// Lets the time pass until the story ends so.
  void until(const std::string& end) {
    for (int turn = 0; turn < 1000 && !story.ends_with(end); ++turn) {
      queue.runUntil(queue.now() + std::chrono::milliseconds(200));
    }
    EXPECT_TRUE(story.ends_with(end)) << story;
  }

  static FakeBluez::Properties with(const std::string& name, bool value) {
    return {{name, sdbus::Variant(value)}};
  }

  PrivateBus bus;
  std::optional<FakeBluez> bluez{std::in_place};
  MainQueue queue{20.0};
  std::optional<BluezAdapter> adapter;
  std::string story;

 private:
  void heard(const Advertisement& /*advertisement*/) override { story += "heard\n"; }
  void changed(CBManagerState state) override {
    story += "state " + std::to_string(static_cast<int>(state)) + "\n";
  }
  void noted(const std::string& line) override { story += line + "\n"; }
};

TEST_F(Following, HearsOnlyTheDevicesOfItsAdapterThatAreOnTheAir) {
  bluez->addAdapter("hci1");
  bluez->addDevice("hci0/dev_2", {"C4:1D:83:5A:07:E3", -50, {{0x0059, {1}}}});
  follow();
  EXPECT_EQ(bluez->requests(), "le+duplicates start");
  bluez->addDevice("hci1/dev_3", {"C4:1D:83:5A:07:E4", -50, {{0x0059, {1}}}});
  hearOne();
  bluez->changeDevice("hci0/dev_2", {{"RSSI", sdbus::Variant(std::int16_t{-51})}});
  until("heard\nheard\n");
  EXPECT_EQ(story, "heard\nheard\n");
}

TEST_F(Following, GoesOnWhenThePowerIsBack) {
  follow();
  bluez->changeAdapter("hci0", with("Discovering", false));
  bluez->changeAdapter("hci0", with("Powered", false));
  until("state 4\nhci0: is switched off; switch it on (bluetoothctl power on)\n");
  bluez->refuse({"org.bluez.Error.NotReady"});
  bluez->changeAdapter("hci0", with("Powered", true));
  until("state 5\nhci0: the scan goes on\n");
  hearOne();
  EXPECT_EQ(bluez->requests(), "le+duplicates start le+duplicates start stop le+duplicates start");
}

TEST_F(Following, GoesOnWhenTheAdapterIsBackOrAnotherIsThere) {
  follow();
  bluez->removeAdapter("hci0");
  until("state 4\nhci0: the adapter is gone; the scan goes on when one is there\n");
  bluez->addAdapter("hci1", false);
  until("hci1: is switched off; switch it on (bluetoothctl power on)\n");
  bluez->changeAdapter("hci1", with("Powered", true));
  until("state 5\nhci1: the scan goes on\n");
}

TEST_F(Following, GoesOnWhenTheDaemonIsBack) {
  follow();
  bluez.reset();
  until("state 1\nbluetoothd is gone; the scan goes on when it is back\n");
  bluez.emplace();
  until("state 4\nno adapter is there yet; the scan goes on when one is there\n");
  bluez->addAdapter("hci0");
  until("state 5\nhci0: the scan goes on\n");
  hearOne();
}

TEST_F(Following, GoesOnWhenTheBusIsBack) {
  follow();
  bluez.reset();
  bus.stop();
  until("the system bus is gone; the scan goes on when it is back\n");
  bus.start();
  bluez.emplace();
  bluez->addAdapter("hci0");
  until("state 5\nhci0: the scan goes on\n");
  hearOne();
}

TEST_F(Following, StartsTheScanAgainThatAnotherProgramEnded) {
  follow();
  bluez->changeAdapter("hci0", with("Discovering", false));
  until("hci0: another program ended the scan; it is started again\nhci0: the scan goes on\n");
  EXPECT_EQ(bluez->requests(), "le+duplicates start stop le+duplicates start");
}

TEST_F(Following, SaysOnceThatItCannotScanAndGoesOnTrying) {
  follow();
  bluez->refuse({4, "org.bluez.Error.Failed"});
  bluez->changeAdapter("hci0", with("Powered", true));
  until("hci0: the scan goes on\n");
  EXPECT_EQ(story,
            "hci0: cannot scan: refused; it is tried again every second\n"
            "hci0: the scan goes on\n");
}

TEST_F(Following, EndsWhereItIsNoLongerAllowed) {
  follow();
  bluez->refuse({"org.freedesktop.DBus.Error.AccessDenied"});
  bluez->changeAdapter("hci0", with("Powered", true));
  EXPECT_THROW(until("allowed"), std::runtime_error);
}

}  // namespace
}  // namespace nimbrel::testing_support
