#include "Classes/text/UuidText.hpp"
#include "tests/host/phone/PhoneTest.hpp"

namespace nimbrel::testing_support {
namespace {

using namespace std::chrono_literals;
using Status = CLAuthorizationStatus;

class PermissionPrompt : public PhoneTest {
 protected:
  void startWith(Status status, std::optional<Status> answer) {
    Phone::Setup setup;
    setup.location.authorization = status;
    setup.location.promptAnswer = answer;
    start(setup);
  }
  /// Requests permission and returns what the phone reports within `time`.
  Lines ask(MainQueue::Time time = 1s) {
    managers->location->requestAlwaysAuthorization();
    pass(time);
    return told();
  }
};

TEST_F(PermissionPrompt, IsAnsweredAfterASecond) {
  startWith(Status::notDetermined, Status::denied);
  EXPECT_EQ(ask(1s - 1us), Lines{});
  pass(1us);
  EXPECT_EQ(told(), Lines{"authorization 2"});
  EXPECT_EQ(phone->authorizationStatus(), Status::denied);
}

TEST_F(PermissionPrompt, IsShownOnceForEachOfTwoPermissions) {
  startWith(Status::notDetermined, Status::authorizedWhenInUse);
  EXPECT_EQ(ask(), Lines{"authorization 4"});
  EXPECT_EQ(ask(), Lines{}) << "the answer changes nothing";
  phone->location().changeAuthorization(Status::notDetermined);
  told();
  EXPECT_EQ(ask(), Lines{}) << "the question was asked before";
  startWith(Status::notDetermined, Status::authorizedAlways);
  EXPECT_EQ(ask(), Lines{"authorization 3"});
  for (const Lines& expected : {Lines{"authorization 3"}, Lines{}}) {
    phone->location().changeAuthorization(Status::authorizedWhenInUse);
    told();
    EXPECT_EQ(ask(), expected) << "the other question, once";
  }
}

TEST_F(PermissionPrompt, IsNotShownOrNotAnswered) {
  startWith(Status::notDetermined, std::nullopt);
  EXPECT_EQ(ask(1h), Lines{});
  startWith(Status::denied, Status::authorizedAlways);
  EXPECT_EQ(ask(1h), Lines{});
}

const UUID kUuid = *parseUuid("E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");

class Monitoring : public PhoneTest {
 protected:
  void monitor(const std::string& identifier, const UUID& uuid = kUuid) {
    managers->location->startMonitoringFor({uuid, identifier});
    queue.drain();
  }
};

TEST_F(Monitoring, ReportsAnExitThirtySecondsAfterTheLastFrame) {
  monitor("R");
  hear(made(beaconFrame()));
  EXPECT_EQ(told(), Lines{"enter R"});
  pass(20s);
  hear(made(beaconFrame(7, 7)));
  pass(30s - 1us);
  EXPECT_EQ(told(), Lines{});
  pass(1us);
  EXPECT_EQ(told(), Lines{"exit R"});
  hear(made(beaconFrame()));
  EXPECT_EQ(told(), Lines{"enter R"});
}

TEST_F(Monitoring, LeavesTheTimersOfAReplacedRegionWithoutEffect) {
  monitor("R");
  hear(made(beaconFrame()));
  pass(20s);
  monitor("R");
  hear(made(beaconFrame()));
  EXPECT_EQ(told(), (Lines{"enter R", "enter R"}));
  pass(20s);
  hear(made(beaconFrame()));
  pass(30s - 1us);
  EXPECT_EQ(told(), Lines{});
  managers->location->stopMonitoringFor({kUuid, "R"});
  pass(1h);
  EXPECT_EQ(told(), Lines{});
}

TEST_F(Monitoring, TakesTwentyRegionsAndReplacementsOfThem) {
  for (char letter = 'A'; letter < 'A' + 20; ++letter) {
    monitor(std::string(1, letter));
  }
  EXPECT_EQ(told(), Lines{});
  monitor("U");
  EXPECT_EQ(told(), Lines{"monitoring failed U"});
  monitor("T", {});
  EXPECT_EQ(told(), Lines{});
  EXPECT_EQ(managers->location->monitoredRegions().size(), 20U);
  hear(made(beaconFrame()));
  EXPECT_EQ(told().size(), 19U) << "the replacement has another UUID";
}

class Ranging : public PhoneTest {
 protected:
  void range(const std::string& identifier = "R", const UUID& uuid = kUuid) {
    managers->location->startRangingBeaconsIn({uuid, identifier});
  }
  void hearBeacon(std::uint16_t minor, std::int8_t rssi, std::int8_t power = -59) {
    hear(made(beaconFrame(1, minor, power)), rssi);
  }
  /// The next report.
  std::string report() {
    pass(1s);
    const Lines lines = told();
    return lines.size() == 1 ? lines.front() : std::to_string(lines.size()) + " lines";
  }
};

TEST_F(Ranging, TakesTheRoundedMeanOfTheReadingsSinceTheLastReport) {
  range();
  const std::pair<std::vector<std::int8_t>, const char*> cases[] = {
      {{-60, -62}, "range R; 1/2 -61 127 2"},
      {{-60, -61}, "range R; 1/2 -61 127 2"},
      {{-60, -60, -61}, "range R; 1/2 -60 114 2"},
      {{-59, 127}, "range R; 1/2 -59 101 2"},
      {{127}, "range R; 1/2 0 -100 0"},
      {{}, "range R; 1/2 0 -100 0"},
      {{-40}, "range R; 1/2 -40 2 1"},
      {{-80}, "range R; 1/2 -80 952 3"},
  };
  for (const auto& [readings, expected] : cases) {
    for (const std::int8_t reading : readings) {
      hearBeacon(2, reading);
    }
    EXPECT_EQ(report(), expected);
  }
}

TEST_F(Ranging, EstimatesWithThePowerOfTheLatestFrame) {
  range();
  hearBeacon(2, -70, -70);
  EXPECT_EQ(report(), "range R; 1/2 -70 101 2");
  hearBeacon(2, -70, -59);
  hearBeacon(2, -70, -75);
  EXPECT_EQ(report(), "range R; 1/2 -70 50 2");
}

TEST_F(Ranging, ForgetsABeaconAfterTenSecondsAndKeepsTheOthersApart) {
  range();
  hearBeacon(1, -60);
  hearBeacon(2, -60);
  pass(1us);
  hearBeacon(257, -60);
  pass(9s);
  hearBeacon(2, -61);
  told();
  pass(1s - 2us);
  EXPECT_EQ(told(), Lines{}) << "ten seconds are not over";
  pass(1us);
  EXPECT_EQ(told(), Lines{"range R; 1/2 -61 127 2; 1/257 0 -100 0"});
  hearBeacon(257, -40);
  hearBeacon(1, -59);
  EXPECT_EQ(report(), "range R; 1/2 0 -100 0; 1/257 -40 2 1; 1/1 -59 101 2");
}

TEST_F(Ranging, StartsAnewForAnotherUuidUnderTheSameIdentifierOnly) {
  range();
  hearBeacon(2, -60);
  pass(500ms);
  range();
  EXPECT_EQ(report(), "range R; 1/2 -60 114 2") << "the same region goes on";
  range("R", {});
  pass(1s - 1us);
  EXPECT_EQ(told(), Lines{}) << "the timer of the replaced region has no effect";
  pass(1us);
  EXPECT_EQ(told(), Lines{"range R"});
  managers->location->stopRangingBeaconsIn({{}, "R"});
  pass(5s);
  EXPECT_EQ(told(), Lines{});
}

TEST_F(Ranging, IsOfOneManagerAndMonitoringOfAll) {
  const auto others = Managers::on(*phone);
  queue.drain();
  others->told.clear();
  managers->location->startMonitoringFor({kUuid, "M"});
  EXPECT_EQ(others->location->monitoredRegions().size(), 1U);
  range();
  others->location->startRangingBeaconsIn({kUuid, "R"});
  hearBeacon(2, -60);
  pass(1s);
  const Lines expected{"enter M", "range R; 1/2 -60 114 2"};
  EXPECT_EQ(told(), expected);
  EXPECT_EQ(std::exchange(others->told, {}), expected);
  others->location->stopRangingBeaconsIn({kUuid, "R"});
  EXPECT_EQ(report(), "range R; 1/2 0 -100 0");
  EXPECT_EQ(others->told, Lines{});
  others->location->startRangingBeaconsIn({kUuid, "R"});
  others->location.reset();
  EXPECT_EQ(report(), "range R; 1/2 0 -100 0") << "a manager's end ends its own ranging only";
}

}  // namespace
}  // namespace nimbrel::testing_support
