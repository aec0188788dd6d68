#include <gtest/gtest.h>

#include <stdexcept>

#include "host/bluez/BluezAdapter.hpp"
#include "tests/support/FakeBluez.hpp"

namespace nimbrel::testing_support {
namespace {

/// An adapter hci0, and the story of what happens to it: reports, states and lines.
class Following : public testing::Test, public AdapterObserver {
 protected:
  Following() { bluez->addAdapter("hci0"); }

  void follow(std::optional<std::string> name = std::nullopt) {
    adapter.emplace(std::move(name), queue, *this);
    until("listening\n");
    story.clear();
  }

  void hearOne() {
    bluez->addDevice("hci0/dev_1", {"C4:1D:83:5A:07:E2", -60, {{0x0059, {1}}}});
    until("heard -60\n");
  }

  /// Lets time pass until the story ends with `end`.
  void until(const std::string& end) {
    for (int turn = 0; turn < 1000 && !story.ends_with(end); ++turn) {
      queue.runUntil(queue.now() + std::chrono::milliseconds(200));
    }
    EXPECT_TRUE(story.ends_with(end)) << story;
  }

  static FakeBluez::Properties with(const std::string& name, bool value) {
    return {{name, sdbus::Variant(value)}};
  }

  static FakeBluez::Properties manufacturerData() {
    const std::map<std::uint16_t, sdbus::Variant> companies{
        {0x0059, sdbus::Variant(std::vector<std::uint8_t>{2})}};
    return {{"ManufacturerData", sdbus::Variant(companies)}};
  }

  PrivateBus bus;
  std::optional<FakeBluez> bluez{std::in_place};
  BusClock* clock = new BusClock([this] {
    if (!bluez.has_value() || !bluez->isHanging()) {
      PrivateBus::settle();
    }
  });
  MainQueue queue{std::unique_ptr<Clock>(clock)};
  std::optional<BluezAdapter> adapter;
  std::string story;
  std::vector<MainQueue::Time> times;  // Of the reports.

 private:
  void listening() override { story += "listening\n"; }
  void heard(const Advertisement& advertisement) override {
    story += "heard " + std::to_string(advertisement.rssi) + "\n";
    times.push_back(queue.now());
  }
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
  bluez->addDevice("hci1/dev_3", {"C4:1D:83:5A:07:E4", -40, {{0x0059, {1}}}});
  bluez->addDevice("hci0/dev_1", {"C4:1D:83:5A:07:E2", -60, {{0x0059, {1}}}});
  bluez->changeDevice("hci0/dev_2", {{"RSSI", sdbus::Variant(std::int16_t{-51})}});
  bluez->changeDevice("hci1/dev_3", {{"RSSI", sdbus::Variant(std::int16_t{-41})}});
  bluez->changeDevice("hci0/dev_1", {{"RSSI", sdbus::Variant(std::int16_t{-61})}});
  until("heard -61\n");
  EXPECT_EQ(story, "heard -60\nheard -51\nheard -61\n");
}

TEST_F(Following, HasBeaconsMonitoredBeforeItsDiscoveryWhereTheDaemonCan) {
  bluez->addAdapter("hci1", true, true);
  follow("hci1");
  EXPECT_EQ(bluez->requests(), "le+duplicates monitors:/ start");
}

TEST_F(Following, SpreadsTheReportsOfASuspensionOverItsTime) {
  using namespace std::chrono_literals;
  MainQueue::Time begin{};
  const auto send = [this](int rssi) {
    bluez->changeDevice("hci0/dev_1", {{"RSSI", sdbus::Variant(static_cast<std::int16_t>(rssi))}});
    PrivateBus::settle();
  };
  const auto suspend = [&](MainQueue::Time suspension) {
    times.clear();
    queue.runUntil(queue.now() + queue.lag() + 1s);
    begin = queue.now();
    send(-61);
    send(-62);
    clock->pass(suspension);
    queue.runUntil(begin);
  };
  follow();
  hearOne();
  suspend(999ms);
  EXPECT_EQ(times, (std::vector{begin, begin})) << "the machine was busy";
  suspend(10s);
  queue.runUntil(begin + 9500ms);
  send(-63);
  send(-64);
  until("heard -64\n");
  EXPECT_EQ(times, (std::vector{begin + 5s, begin + 10s, begin + 10s, begin + 10s}));
}

TEST_F(Following, ForgetsADeviceThatIsRemoved) {
  follow();
  hearOne();
  bluez->removeDevice("hci0/dev_1");
  bluez->changeUnknown("hci0/dev_1", {{"RSSI", sdbus::Variant(std::int16_t{-55})}});
  bluez->addDevice("hci0/dev_2", {"C4:1D:83:5A:07:E3", -50, {}});
  until("heard -50\n");
  EXPECT_EQ(story, "heard -60\nheard -50\n");
}

TEST_F(Following, AsksForADeviceThatItNoLongerKeeps) {
  bluez->addDevice("hci0/dev_0", {"C4:1D:83:5A:07:E1", -40, {{0x0059, {1}}}});
  follow();
  queue.runUntil(queue.now() + std::chrono::minutes(10));
  for (int number = 1; number <= 256; ++number) {
    bluez->addDevice("hci0/dev_" + std::to_string(number), {"C4:1D:83:5A:07:E2", -60, {}});
  }
  bluez->changeDevice("hci0/dev_0", {{"RSSI", sdbus::Variant(std::int16_t{-41})}});
  until("heard -40\n");
}

TEST_F(Following, WithdrawsWhatIsNoLongerKnown) {
  follow();
  hearOne();
  bluez->changeDevice("hci0/dev_1", {}, {"RSSI"});
  bluez->changeDevice("hci0/dev_1", manufacturerData());
  until("heard 127\n");
}

TEST_F(Following, TakesTheFirstAdapterByItsNumber) {
  bluez->removeAdapter("hci0");
  bluez->addAdapter("hci10");
  bluez->addAdapter("hci9");
  follow();
  EXPECT_EQ(adapter->name(), "hci9");
  follow("hci10");
  EXPECT_EQ(adapter->name(), "hci10");
}

TEST_F(Following, SaysThatTheDaemonDoesNotAnswer) {
  bluez->hang();
  adapter.emplace(std::nullopt, queue, *this);
  until("restart it (sudo systemctl restart bluetooth)\n");
  EXPECT_EQ(story,
            "bluetoothd does not answer yet; if it stays so, restart it (sudo systemctl restart "
            "bluetooth)\n");
}

TEST_F(Following, StartsAScanAgainThatHearsNothingAnyMore) {
  follow();
  hearOne();
  for (int count = 0; count < 60; ++count) {
    bluez->changeDevice("hci0/dev_1", {{"RSSI", sdbus::Variant(std::int16_t{-61})}});
  }
  until("restart bluetooth)\n");
  story.erase(0, story.rfind("heard -61\n") + 10);
  EXPECT_EQ(story,
            "hci0: nothing is heard any more; the scan is started again\n"
            "hci0: still nothing is heard; if a beacon is near, restart BlueZ (sudo systemctl "
            "restart bluetooth)\n");
  EXPECT_EQ(bluez->requests(), "le+duplicates start stop le+duplicates start");
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
  bluez->changeAdapter("hci0", with("Powered", false));
  bluez->removeAdapter("hci0");
  until("gone; the scan goes on when one is there\n");
  EXPECT_EQ(story, "state 4\nhci0: the adapter is gone; the scan goes on when one is there\n")
      << "not that it is switched off";
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

TEST_F(Following, IsPatientWithADaemonThatIsBusyAfterItsStart) {
  follow();
  bluez->refuse({4, "org.bluez.Error.InProgress"});
  bluez->changeAdapter("hci0", with("Powered", false));
  bluez->changeAdapter("hci0", with("Powered", true));
  until("state 5\n");
  EXPECT_EQ(story, "state 4\nstate 5\n");
}

TEST_F(Following, EndsWhereItIsNoLongerAllowed) {
  follow();
  bluez->refuse({"org.freedesktop.DBus.Error.AccessDenied"});
  bluez->changeAdapter("hci0", with("Powered", true));
  EXPECT_THROW(until("allowed"), std::runtime_error);
}

}  // namespace
}  // namespace nimbrel::testing_support
