#include "tests/support/Conversions.hpp"
#include "tests/support/Reports.hpp"

namespace nimbrel::testing_support {
namespace {

/// Reports of one payload, all of the same strength.
Bytes often(const Bytes& data, const std::vector<double>& times, int rssi) {
  Bytes records;
  for (const double time : times) {
    records = records + report(time, "01", data, rssi);
  }
  return records;
}

class Explain : public ::testing::Test {
 protected:
  /// Explains a recording of these records, and takes in what it says in JSON.
  void explain(const Bytes& records, std::vector<std::string> options = {}) {
    expectFaithfulConversions(btsnoop(1002, records));
    options.emplace_back("--json");
    const Outcome outcome = runOver(records, std::move(options), "explain");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    devices = jsonLines(outcome.output);
    ASSERT_FALSE(devices.empty());
    run = devices.back()["run"];
    devices.pop_back();
  }

  /// The fates of each device, in a line.
  [[nodiscard]] std::string fates() const {
    std::string all;
    for (const Json& device : devices) {
      all.append(all.empty() ? "" : " ").append(device["fates"].dump());
    }
    return all;
  }

  /// What is said of the first device and of the run.
  [[nodiscard]] std::string said() const {
    return devices.at(0)["why"].dump() + devices.at(0)["iphone"].dump() + run["why"].dump();
  }

  std::vector<Json> devices;
  Json run;
};

TEST_F(Explain, GivesEveryAdvertisementOfGenericModeItsFate) {
  explain(report(0, "01", maker("590001")) + report(0.5, "01", maker("590001")) +
          report(1.2, "01", maker("590001"), -62) + report(2.1, "01", maker("590002"), -63) +
          report(2.2, "02", named("Lamp")) + report(2.3, "03", named("my bEaCon")));
  EXPECT_EQ(fates(), R"({"coalesced":1,"event":2,"thinned":1} {"notAdmitted":1} {"event":1})");
  EXPECT_EQ(devices[0]["events"], 2);
  expectEntries(run, R"({"events": 3, "mode": "generic", "advertisements": 6, "devices": 3,
                         "seconds": 3.3})");
}

TEST_F(Explain, GivesEveryAdvertisementOfFilterModeItsFate) {
  explain(report(0, "01", iBeacon(), -60) + report(0.5, "01", iBeacon(), -64) +
              report(0.6, "02", iBeacon()) + report(0.7, "02", iBeacon("00020001")) +
              report(0.8, "03", iBeacon("00010002", kOtherDigits)) +
              report(0.9, "04", named("Lamp")) + report(1.1, "05", maker("590001")) +
              report(1.2, "05", iBeacon(), -60, kScanResponse) + report(3.5, "04", named("Lamp")),
          {"--filter", std::string(kUuid) + "/9", "--filter", std::string(kUuid) + "/1=Desk",
           "--filter", std::string(kUuid) + "/1/2"});
  EXPECT_EQ(fates(), R"({"ranged":2} {"ranged":1,"refused":1} {"otherUuid":1} {"noIBeacon":2})"
                     R"( {"noIBeacon":1,"withheld":1})");
  EXPECT_FALSE(devices[0].contains("events"));
  expectEntries(run, R"({
      "mode": "filter", "events": 4,
      "filters": [{"filter": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/9", "events": 0},
                  {"filter": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/1=Desk", "events": 4},
                  {"filter": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/1/2", "events": 0}],
      "beacons": [{"uuid": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0", "majorId": 1, "minorId": 2,
                   "identifier": "Desk", "devices": 2, "heard": 3, "events": 4, "silent": 3}]})");
}

TEST_F(Explain, ShowsADeviceAsItWas) {
  explain(report(0.5, "01", iBeacon(), -60) + report(0.6, "01", iBeacon(), 127) +
          report(1.75, "01", named("Desk"), -65, kScanResponse) +
          report(2, "01", altBeacon(), -70) + report(2.5, "02", named("Lamp"), 127));
  expectEntries(devices.at(0), R"({
      "device": "C6:55:44:33:22:01", "addressType": "random", "name": "Desk",
      "identifier": "6E696D62-7265-8C00-8001-C65544332201", "frame": "AltBeacon", "minorId": 2,
      "txPower": -59, "company": 280, "heard": 4, "first": 1700000000500, "last": 1700000002000,
      "rssi": {"min": -70, "mean": -65.0, "max": -60}})");
  EXPECT_EQ(devices[0]["beacons"].size(), 2U);
  expectEntries(devices[0]["beacons"][0], R"({"uuid": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0",
                                              "majorId": 1, "minorId": 2, "heard": 2})");
  for (const char* key : {"frame", "uuid", "majorId", "minorId", "txPower", "company", "rssi"}) {
    EXPECT_TRUE(devices.at(1).at(key).is_null()) << key;
  }
}

TEST_F(Explain, WithholdsBeaconsAsAnIPhoneWhereAsked) {
  const Bytes records =
      report(0, "01", iBeacon()) + report(0.1, "01", named("Desk"), -60, kScanResponse);
  explain(records);
  EXPECT_TRUE(has(said(), "An iPhone withholds iBeacon frames"));
  explain(records, {"--phone", "iphone"});
  EXPECT_EQ(fates(), R"({"notAdmitted":1,"withheld":1})");
  EXPECT_TRUE(has(said(), "--filter E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/1/2"));
  EXPECT_EQ(devices[0]["iphone"].size(), 0U);
}

/// Filters of 22 UUIDs.
std::vector<std::string> manyFilters() {
  std::vector<std::string> options;
  for (int index = 10; index < 32; ++index) {
    options.emplace_back("--filter");
    options.push_back(std::to_string(index) + "000000-0000-0000-0000-000000000000");
  }
  return options;
}

/// A recording, and the options with which it is explained.
using Recorded = std::pair<Bytes, std::vector<std::string>>;

/// One report.
Recorded once(const Bytes& data, const std::vector<std::string>& options = {}) {
  return {report(0, "01", data), options};
}

TEST_F(Explain, SaysWhyAndWhatToChange) {
  const std::vector<std::string> filter = {"--filter", kUuid};
  const std::vector<std::string> numbers = {"--filter", std::string(kUuid) + "/1/2"};
  const std::pair<Recorded, std::vector<std::string>> cases[] = {
      // The device has nothing that generic mode asks for.
      {once(named("Lamp")),
       {"no manufacturer data, and its name, \\\"Lamp\\\", has none of the words beacon, estimote, "
        "kontakt or gimbal",
        "Nothing was detected", "heard once only"}},
      {once(hex("020106")), {"no manufacturer data, and it has no name"}},
      {{report(0, "01", named("Lamp")) + report(5, "01", named("Lamp") + maker("590001")), {}},
       {"1 advertisement came without manufacturer data"}},
      // Frames that are none.
      {once(maker("4C000215E2C56DB5DFFB48D2B060D0F5A71096E000010002")),
       {"begins like an iBeacon frame and ends after 24 bytes of 25"}},
      {once(maker("1801BEAC")), {"like an AltBeacon frame and ends after 4"}},
      {once(altBeacon("5900")),
       {"an AltBeacon frame under company 0x0059, and only one under company 0x0118"}},
      {once(maker("59000215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5"), filter),
       {"an iBeacon frame under company 0x0059, and only one under company 0x004C"}},
      // UUIDs that are nearly the one asked for.
      {once(iBeacon("00010002", "E2C56DB5DFFB48D2B060D0F5A71096E8"), numbers),
       {"no device sent its UUID, but 1 device sent E2C56DB5-DFFB-48D2-B060-D0F5A71096E8, which "
        "has 8 as digit 32 of 32 where the filter has 0",
        "--filter E2C56DB5-DFFB-48D2-B060-D0F5A71096E8/1/2"}},
      {once(iBeacon("00010002", "2EC56DB5DFFB48D2B060D0F5A71096E0"), filter),
       {"It sends 2EC56DB5-DFFB-48D2-B060-D0F5A71096E0, which has digits 1 and 2 of 32 swapped: 2 "
        "and E where the filter has E and 2"}},
      {once(iBeacon("00010002", "E09610A7F5D060B0D248FBDFB56DC5E2"), filter),
       {"has the filter's bytes in reverse order"}},
      {once(iBeacon("00010002", "B56DC5E2FBDFD248B060D0F5A71096E0"), filter),
       {"has the bytes of each of the filter's first three groups in reverse order"}},
      {once(iBeacon("00010002", "12C56DB5DFFB48D2B060D0F5A7109634"), filter),
       {"has 1 as digit 1 of 32 where the filter has E, and 3 as digit 31 of 32 where the filter "
        "has E, and 4 as digit 32"}},
      {once(iBeacon("00010002", "12C56DB5DFFB48D2B060D0F5A7109534"), filter),
       {"No filter asks for its UUID", "Heard were 12C56DB5"}},
      // The right UUID.
      {once(iBeacon("00020001"), numbers),
       {"it sends 2/1 and the filters ask for 1/2: major and minor are swapped. Ask for --filter "
        "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0/2/1",
        "its UUID was heard with 2/1 and it asks for 1/2 (major and minor are swapped)"}},
      {once(iBeacon("01000200"), numbers), {"the two bytes of each number are swapped"}},
      {once(iBeacon("00010003"), numbers),
       {"sends 1/3 and the filters ask for 1/2. Ask", "was heard with 1/3 and it asks for 1/2. "}},
      {once(altBeacon(), filter),
       {"filter mode hears iBeacons only, although a filter has its UUID",
        "its UUID is sent in AltBeacon frames"}},
      // Nobody sends what is asked for.
      {{report(0, "01", iBeacon("00010002", kOtherDigits)) +
            report(1, "01", iBeacon("00010003", kOtherDigits)),
        filter},
       {"No filter asks for its UUID, 00000000-0000-0000-0000-000000000001",
        "no device sent its UUID. Heard were 00000000-0000-0000-0000-000000000001 (1 device)"}},
      {once(named("Lamp"), filter), {"No beacon was heard at all", "no iBeacon frame"}},
      {once(iBeacon(),
            {"--filter", std::string(kUuid) + "=Desk", "--filter", std::string(kOther) + "=Desk"}),
       {"have the same label, \\\"Desk\\\"", "nothing ranged their region"}},
      {once(iBeacon(), {"--filter", std::string(kUuid) + "/9=Desk", "--filter",
                        std::string(kOther) + "=Desk"}),
       {"have the same label"}},
      {once(named("Lamp"), manyFilters()),
       {"The filters make 22 regions, and a phone monitors 20",
        "beacon_30000000 and beacon_31000000"}},
      {{report(0, "01", maker("590001")) + report(1, "01", iBeacon(), -60, kScanResponse), filter},
       {"1 scan response carried an iBeacon frame"}},
      // Times and signals.
      {{often(maker("590001"), {0, 1, 2}, -60) + report(13, "02", maker("590001")), {}},
       {"fell silent 12.0 s before the end"}},
      {{often(maker("590001"), {0, 1, 12, 13, 24, 25}, -90), {}},
       {"at the edge of hearing: 2 silences of 10 s and more, at a mean of -90 dBm"}},
      {{often(maker("590001"), {0, 5, -1000, -997}, -60), {}},
       {"clock jumped 1 time, first from 2023-11-14 22:13:25.000 to 2023-11-14 21:56:40.000"}},
  };
  for (const auto& [recorded, expected] : cases) {
    explain(recorded.first, recorded.second);
    for (const std::string& words : expected) {
      EXPECT_TRUE(has(said(), words));
    }
  }
}

TEST_F(Explain, SaysNothingWhereAllIsWell) {
  Bytes records;
  for (int second = 0; second < 40; second += 10) {
    // Two of three silences would do for the edge of hearing, and ten seconds for a silent end.
    records = records + report(second, "01", maker("590001"), -84);
  }
  explain(records + report(38.9, "02", maker("590001")));
  EXPECT_EQ(said(), "[][][]");
  // Eleven seconds are not long for a device that advertises each nine.
  explain(often(maker("590001"), {0, 9}, -60) + report(20, "02", maker("590001")));
  EXPECT_EQ(said(), "[][][]");
}

std::string explained(const Bytes& records, std::vector<std::string> options) {
  const Outcome outcome = runOver(records, std::move(options), "explain");
  return outcome.output + outcome.errors;
}

TEST(ExplainText, TellsOfTheMostSurprisingFirstAndSumsUpTheRest) {
  const Bytes records = report(0, "01", named("Lamp\x1B[2J")) + report(1, "02", named("Lamp")) +
                        report(2, "03", maker("590001")) + report(3, "04", altBeacon("5900")) +
                        report(4, "05", maker("4C000215E2C5"));
  const std::string shown = explained(records, {});
  EXPECT_EQ(shown.find("generic mode: 5 advertisements from 5 devices in 5.0 s, 3 events\n"), 0U)
      << shown;
  EXPECT_TRUE(has(shown, "  2 more devices: no manufacturer data, and no word"));
  EXPECT_EQ(shown.find("22:01"), std::string::npos);
  const std::string all = explained(records, {"--all"});
  EXPECT_TRUE(has(all,
                  "C6:55:44:33:22:01 random  \"Lamp\\x1B[2J\"\n  heard 1 time from 22:13:20.000 to "
                  "22:13:20.000, -60 to -60 dBm, mean -60.0\n  notAdmitted 1\n"));

  const std::string filtered =
      explained(report(0, "01", named("Lamp")) + report(1, "02", iBeacon()) +
                    report(2, "03", iBeacon("00020001")),
                {"--filter", std::string(kUuid) + "/1"});
  EXPECT_LT(filtered.find("22:03"), filtered.find("22:02")) << filtered;
  EXPECT_TRUE(has(filtered, "\n  1 more device: no iBeacon frame"));

  const std::string withheld = explained(
      report(0, "01", maker("590001")) + report(1, "02", iBeacon()), {"--phone", "iphone"});
  EXPECT_LT(withheld.find("22:02"), withheld.find("22:01")) << withheld;
}

TEST(ExplainText, FitsAScreen) {
  Bytes records;
  for (const char* device :
       {"01", "02", "03", "04", "05", "06", "07", "08", "09", "0A", "0B", "0C", "0D"}) {
    records = records + report(0, device, iBeacon());
  }
  const std::string shown = explained(records + records, {"--filter", kUuid, "--filter", kOther});
  EXPECT_TRUE(has(shown, "\n  6 more devices: detected\n"));
}

TEST(ExplainText, TellsOneDevicesStory) {
  const Bytes records = report(0, "01", maker("590001")) + report(0.5, "01", maker("590001")) +
                        report(0.7, "01", maker("590001")) + report(1, "02", named("Lamp")) +
                        report(2, "03", iBeacon()) + report(2, "03", iBeacon("00010003"));
  const std::string shown = explained(records, {"--device", "c6:55:44:33:22:01"});
  EXPECT_TRUE(has(shown,
                  "\n  2023-11-14\n    22:13:20.000  event\n"
                  "    22:13:20.500  coalesced, 2 times until 22:13:20.700\n"));
  EXPECT_EQ(shown.find("Lamp"), std::string::npos);
  const std::string quiet = explained(records, {"--device", "lamp", "--quiet"});
  EXPECT_TRUE(has(quiet, "22:02"));
  EXPECT_EQ(quiet.find("nimbrel"), std::string::npos);
  EXPECT_EQ(explained(records, {"--device", "nobody"}),
            "nimbrel: times are in UTC, from 2023-11-14 on\n"
            "nimbrel: --device 'nobody': no such device was heard; leave it out, and give --all to "
            "see all 3\n");
  EXPECT_TRUE(has(explained(records, {"--device", "c6:55:44:33:22:03"}), "/1/3 and 1 more\n"));
}

TEST(ScanSummary, NamesTheNextStepWhereSomethingIsMissing) {
  const auto lastLine = [](const std::vector<std::string>& options) {
    std::vector<std::string> all = options;
    all.emplace_back("--quiet");
    const std::string errors =
        runOver(report(0, "01", iBeacon()) + report(1, "02", named("Lamp")), all, "scan").errors;
    return errors.substr(errors.rfind('\n', errors.size() - 2) + 1);
  };
  const std::string other = std::string(kOther) + "/1=It's here";
  EXPECT_EQ(lastLine({"--filter", kUuid, "--filter", other, "--for", "1.5"}),
            "not detected: " + other + "; to see why: nimbrel explain - --filter " + kUuid +
                " --filter '" + kOther + "/1=It'\\''s here' --for 1.5\n");
  EXPECT_EQ(lastLine({"--phone", "iphone"}),
            "nothing was detected; to see why: nimbrel explain - --phone iphone\n");
  EXPECT_EQ(lastLine({"--filter", kUuid}).find("2 advertisements from 2 devices"), 0U);
}

}  // namespace
}  // namespace nimbrel::testing_support
