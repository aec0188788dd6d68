#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "tests/support/Conversions.hpp"
#include "tests/support/Reports.hpp"

namespace nimbrel::testing_support {
namespace {

/// One legacy report of an iBeacon with that minor, from a device of its own.
Bytes beaconReport(double seconds, std::uint8_t minor, int rssi = -60) {
  const std::string digits = toHex(Bytes{minor});
  return report(seconds, digits.c_str(), iBeacon("000100" + digits), rssi);
}

/// Nothing is advertised in it.
std::string silence() { return recording(btsnoopRecord(2, stamp(0), hex("01 030C00"))); }

class Scan : public ::testing::Test {
 protected:
  /// Scans these records with --json --quiet and the options given.
  std::vector<Json> detections(const Bytes& records, std::vector<std::string> options = {}) {
    const TemporaryFile file(recording(records));
    expectFaithfulConversions(btsnoop(1002, records));
    options.insert(options.begin(), {"scan", file.path(), "--json", "--quiet"});
    outcome = runCommand(options);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return jsonLines(outcome.output);
  }

  static std::vector<std::int64_t> timesOf(const std::vector<Json>& events) {
    std::vector<std::int64_t> times;
    times.reserve(events.size());
    for (const Json& each : events) {
      times.push_back(each["ts"].get<std::int64_t>() - 1'700'000'000'000);
    }
    return times;
  }

  Outcome outcome{};
};

TEST_F(Scan, FindsABeaconInGenericModeUnderTheTimeOfItsRecord) {
  const auto events = detections(beaconReport(0.987, 7, -70));
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0], Json::parse(R"({"ts": 1700000000987,
      "identifier": "6E696D62-7265-8C00-8001-C65544332207",
      "uuid": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0", "majorId": 1, "minorId": 7, "name": "",
      "mac": "4C:00:02:15:E2:C5", "rssi": -70.0, "txPower": -59.0,
      "distance": 3.472448313889541, "proximity": "near"})"));
  EXPECT_EQ(outcome.errors.substr(0, outcome.errors.find("; took")),
            "1 advertisement from 1 device in 1.0 s, 1 detection");
}

TEST_F(Scan, RangesInFilterModeAndMakesTheLastReport) {
  const std::string filter = std::string("--filter=") + kUuid + "//7=Lobby";
  const auto events = detections(beaconReport(0, 7) + beaconReport(0.5, 9) +
                                     beaconReport(0.6, 7, -63) + beaconReport(1.5, 7, -50),
                                 {filter});
  ASSERT_EQ(timesOf(events), (std::vector<std::int64_t>{1000, 2000}));
  EXPECT_EQ(events[0]["rssi"], -62.0);  // the mean of -60 and -63, its half away from zero
  EXPECT_EQ(events[1]["rssi"], -50.0);
  EXPECT_EQ(events[0]["identifier"], "Lobby");
}

TEST_F(Scan, FollowsARecordersClockWhereverItIsSet) {
  const std::vector<std::pair<std::vector<double>, std::vector<std::int64_t>>> cases = {
      {{0, 0.3, 0.2, 3}, {0, 300, 200, 3000}},               // a little out of order
      {{0, 5, -1000, -997}, {0, 5000, -1000000, -997000}},   // set back
      {{0, 1e8, 1e8 + 3}, {0, 100000000000, 100000003000}},  // set forth by years
  };
  for (const auto& [times, expected] : cases) {
    Bytes records;
    std::uint8_t minor = 0;
    for (const double time : times) {
      records = records + beaconReport(time, ++minor);
    }
    EXPECT_EQ(timesOf(detections(records)), expected);
    const std::string said = "nimbrel: the recording's clock jumps from 2023-11-14 22:13:2";
    EXPECT_EQ(outcome.errors.find(said) == 0, expected.back() != 3000) << outcome.errors;
  }
}

TEST_F(Scan, StopsAfterTheTimeAskedFor) {
  const Bytes records = beaconReport(0, 1) + beaconReport(1.9, 2) + beaconReport(2, 3);
  EXPECT_EQ(detections(records, {"--for", "2"}).size(), 2U);
  EXPECT_EQ(detections(records, {"--for", "2", "--speed", "1000"}).size(), 2U);
}

TEST_F(Scan, UsesACutCaptureUpToTheCutAndSaysWhere) {
  const Bytes records = beaconReport(0, 1) + beaconReport(1, 2);
  EXPECT_EQ(detections({records.begin(), records.end() - 3}).size(), 1U);
  EXPECT_TRUE(has(outcome.errors, "byte 82"));
}

TEST_F(Scan, PlaysSeveralRecordingsAsOneInTheOrderOfTheirTimes) {
  const TemporaryFile later(recording(beaconReport(1, 1) + beaconReport(3, 2)));
  const TemporaryFile silent(silence());
  const auto events = detections(beaconReport(0, 3) + beaconReport(2, 4) + beaconReport(4, 5),
                                 {later.path(), silent.path()});
  EXPECT_EQ(timesOf(events), (std::vector<std::int64_t>{0, 1000, 2000, 3000, 4000}));
  EXPECT_TRUE(has(outcome.errors, silent.path() + ": holds no Bluetooth LE adver"));
}

TEST_F(Scan, CountsPacketsWithAWrongChecksum) {
  const Bytes right = hex("D6BE898E 4006665544332211 FD6B2A");
  const Bytes wrong = hex("D6BE898E 4006665544332211 FD6B2B");
  const Bytes file =
      pcapHeader(little, 251) + pcapRecord(little, 1, 0, right) + pcapRecord(little, 1, 0, wrong);
  const TemporaryFile heard(std::string(file.begin(), file.end()));
  EXPECT_EQ(
      runCommand({"scan", heard.path(), "--quiet", "--json"}).errors.substr(0, 89),
      "1 advertisement from 1 device in 1.0 s, 0 detections, 1 packet with a wrong checksum left");
}

TEST_F(Scan, PrintsDiagnosticsAsOnThePhoneAndWithJsonToTheErrors) {
  const TemporaryFile file(recording(beaconReport(0, 7)));
  const Outcome lines = runCommand({"scan", file.path()});
  EXPECT_EQ(lines.output.substr(0, lines.output.find('\n')), "✅ Bluetooth is on and ready");
  EXPECT_TRUE(has(lines.output,
                  "\n22:13:20.000  E2C56DB5-DFFB-48D2-B060-D0F5A71096E0  1/7"
                  "           -60 dBm     1.14 m  near\n"));
  EXPECT_EQ(lines.errors.find("nimbrel: times are in UTC, from 2023-11-14 on\n"), 0U);
  const Outcome json = runCommand({"scan", file.path(), "--json"});
  EXPECT_EQ(json.output.front(), '{');
  EXPECT_EQ(json.errors.find("✅ Bluetooth is on and ready\n"), 0U);
}

TEST_F(Scan, KeepsNamesFromSteeringTheTerminal) {
  const Outcome lines = runOver(report(0, "01", named("A\x1B[B") + maker("59000102")), {}, "scan");
  EXPECT_TRUE(has(lines.output, "   - Device: A\\x1B[B\n"));
  EXPECT_EQ(lines.output.find('\x1B'), std::string::npos);
}

TEST(BadInput, IsRefusedWithOneLineAndNothingOnTheOutput) {
  const TemporaryFile empty("");
  const TemporaryFile unknown("certainly no capture of any known kind");
  const TemporaryFile silent(silence());
  const TemporaryFile play("{\"call\": 1}\n");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, "nimbrel: no command given"},
      {{"fly"}, "nimbrel: unknown command 'fly'"},
      {{"scan", "/nowhere/a.btsnoop"}, "nimbrel: /nowhere/a.btsnoop: "},
      {{"scan", "/"}, "nimbrel: /: is a directory"},
      {{"scan", empty.path()}, "nimbrel: " + empty.path() + ": is empty"},
      {{"scan", unknown.path()}, "nimbrel: " + unknown.path() + ": "},
      {{"scan", silent.path()}, "nimbrel: " + silent.path() + ": holds no Bluetooth LE adver"},
      {{"simulate", "/nowhere/a.jsonl"}, "nimbrel: /nowhere/a.jsonl: "},
      {{"simulate", "/"}, "nimbrel: /: is a directory"},
      {{"simulate", play.path(), "--expect", "/nowhere"}, play.path() + ":1: "},
      {{"simulate", "--expect", "/nowhere"}, "nimbrel: /nowhere: No such file"},
      {{"simulate", "-", "--expect", "-"}, "nimbrel: the standard input is either the scenario"},
      {{"help", "fly"}, "nimbrel: unknown command 'fly'; the commands are scan, "},
      {{"scan", "--speed", "fast"}, "nimbrel: --speed 'fast' is not a number above 0"},
      {{"scan", "-"}, "nimbrel: -: is empty"},
      {{"simulate", play.path()}, play.path() + ":1: \"call\" is not a text"},
  };
  for (const auto& [arguments, message] : cases) {
    SCOPED_TRACE(message);
    const Outcome outcome = runCommand(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors.substr(0, message.size()), message);
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  }
}

TEST(Command, PlaysAScenarioFromTheStandardInput) {
  const Outcome outcome = runCommand({"simulate", "-"}, "{\"call\": \"checkPermissionStatus\"}");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output,
            "{\"at\":0.0,\"log\":\"✅ Bluetooth is on and ready\"}\n"
            "{\"at\":0.0,\"reply\":\"checkPermissionStatus\",\"call\":1,"
            "\"value\":\"AUTHORIZED\"}\n");
}

TEST(Command, ComparesATranscriptWithTheOneThatIsExpected) {
  const TemporaryFile play("{\"call\": \"checkPermissionStatus\"}\n");
  const std::string transcript = runCommand({"simulate", play.path()}).output;
  const TemporaryFile expected(transcript);
  const Outcome same = runCommand({"simulate", play.path(), "--expect", expected.path()});
  EXPECT_EQ(same.status, 0) << same.errors;
  EXPECT_EQ(same.output, "");
  const Outcome other =
      runCommand({"simulate", play.path(), "--expect", "-"}, "{\"at\": 7}\n" + transcript);
  EXPECT_EQ(other.status, 1);
  EXPECT_EQ(other.output.find("-:1: the transcript differs\n  expected: {\"at\": 7}\n"), 0U);
}

TEST(Command, HelpsInEveryWayInWhichPeopleAsk) {
  const std::string scan = runCommand({"scan", "--help"}).output;
  EXPECT_EQ(scan.find("nimbrel scan: "), 0U);
  EXPECT_TRUE(has(scan,
                  "\n  --filter UUID[/MAJOR[/MINOR]][=LABEL]\n"
                  "                    filter mode; may be repeated;"));
  EXPECT_TRUE(has(scan, "\n  --quiet           no diagnostic lines\n"));
  EXPECT_EQ(runCommand({"help", "scan"}).output, scan);
  EXPECT_EQ(runCommand({"scan", "-h", "--live", "a"}).output, scan);
  const std::string all = runCommand({"--help"}).output;
  EXPECT_TRUE(has(all, "\n  simulate  play "));
  EXPECT_EQ(runCommand({"help"}).output, all);
  EXPECT_EQ(runCommand({"-V"}).output, runCommand({"--version"}).output);
  EXPECT_EQ(runCommand({"-V"}).output.find("nimbrel 0."), 0U);
}

TEST(Command, RunsOnWhatComesWithIt) {
  for (const char* name : {"scan", "simulate"}) {
    const Outcome outcome = runCommand({name});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(outcome.output.size(), 10000U);
    EXPECT_EQ(runCommand({name, "--help"}).status, 0);
  }
}

TEST(Command, EndsQuietlyWhenItsReaderHasHadEnoughAndLoudlyWhenTheDiskIsFull) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  close(ends[0]);
  const Outcome closed = runCommandTo(ends[1], {"scan"});
  close(ends[1]);
  EXPECT_EQ(closed.status, 0);
  EXPECT_EQ(closed.errors, "nimbrel: times are in UTC, from 2024-05-04 on\n");

  const int full = open("/dev/full", O_WRONLY);
  const Outcome failed = runCommandTo(full, {"scan"});
  close(full);
  EXPECT_EQ(failed.status, 1);
  EXPECT_TRUE(has(failed.errors, "nimbrel: the output cannot be written"));
}

}  // namespace
}  // namespace nimbrel::testing_support
