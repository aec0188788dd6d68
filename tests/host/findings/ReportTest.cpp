#include <unistd.h>

#include <filesystem>

#include "host/base/InputError.hpp"
#include "host/base/WholeFile.hpp"
#include "tests/support/Reports.hpp"

namespace nimbrel::testing_support {
namespace {

Json reported(const Bytes& records, std::vector<std::string> options = {}) {
  options.insert(options.end(), {"--json", "--utc"});
  const Outcome outcome = runOver(records, std::move(options), "report");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  return Json::parse(outcome.output);
}

/// The last byte of each device's address, and the places of those with a series.
std::string order(const Json& report) {
  std::string text;
  for (const Json& device : report["devices"]) {
    text += device["device"].get<std::string>().substr(15).append(" ");
  }
  for (const Json& series : report["series"]) {
    text.append("+").append(series["device"].dump());
  }
  text.append(" missed ").append(report["missed"].dump());
  return text.append(" detected ").append(report["detected"].dump());
}

TEST(ReportJson, HasTheDevicesThatMatterFirstWithTheirSeries) {
  const Bytes records =
      report(0, "01", named("Lamp")) + report(0.1, "01", named("Lamp")) +
      report(0.2, "02", maker("590001")) + report(0.3, "03", iBeacon()) +
      report(0.4, "04", iBeacon("00010003")) + report(0.5, "04", iBeacon("00010003"), -71) +
      report(0.6, "05", maker("4C0002")) + report(0.7, "06", iBeacon("00010003", kOtherDigits));
  Json report = reported(records);
  EXPECT_EQ(order(report), "04 03 06 02 05 01 +0+1+2+3+4 missed 0 detected 5");
  expectEntries(report, R"({"headline": "6 devices, 3 beacons; 5 devices detected",
                            "step": 0.015625, "bounds": [0.5, 4.0]})");
  expectEntries(report["series"][0], R"({"device": 0, "readings": [[25, -60], [32, -71]],
                                         "detections": [[25, -60.0, 1.135]]})");

  const std::string desk = std::string(kUuid) + "/1/3=Desk";
  report = reported(records, {"--filter", desk, "--filter", std::string(kUuid) + "/9"});
  EXPECT_EQ(order(report), "03 04 06 01 02 05 +0+1+2 missed 1 detected 1");
  EXPECT_EQ(report["headline"], "6 devices, 3 beacons; 1 of 2 filters heard something");
  EXPECT_EQ(report["series"][1]["detections"], Json::parse("[[64, -66.0, 2.247]]"));
  EXPECT_EQ(report["lanes"], Json::parse(R"([
      {"kind": "bluetooth", "name": "", "leftOut": 0,
       "stretches": [{"state": "poweredOn", "from": 0.0, "to": 1.7}]},
      {"kind": "permission", "name": "", "leftOut": 0,
       "stretches": [{"state": "always", "from": 0.0, "to": 1.7}]},
      {"kind": "region", "name": "beacon_E2C56DB5_multiple", "leftOut": 0,
       "stretches": [{"state": "ranged", "from": 0.0, "to": 1.7},
                     {"state": "inside", "from": 0.3, "to": 1.7}]}])"));
  EXPECT_EQ(report["source"]["files"], Json::parse(R"(["-"])"));
  EXPECT_EQ(report["source"]["command"],
            "nimbrel report - --filter " + desk + " --filter " + kUuid + "/9 --utc -o PAGE.html");
  EXPECT_EQ(report["source"]["begin"], 1'700'000'000'000);
}

TEST(ReportJson, SaysOfDevicesWhatExplainSays) {
  const Bytes records = report(0, "01", named("Lamp")) + report(5, "02", iBeacon()) +
                        report(-500, "01", named("Lamp"), 127);
  const Json report = reported(records);
  EXPECT_EQ(
      (std::vector<Json>{report["devices"][1], report["devices"][0], {{"run", report["run"]}}}),
      jsonLines(runOver(records, {"--json"}, "explain").output));
  EXPECT_EQ(report["source"]["jumps"].size(), 1U);
  EXPECT_EQ(report["source"]["jumps"][0]["after"], 1'699'999'500'000);
}

TEST(ReportJson, HasAThousandBeaconsAtMost) {
  Bytes records;
  for (int device = 0; device < 1100; ++device) {
    const Bytes numbers = big(2, static_cast<std::uint64_t>(device)) + hex("0001");
    records = records + report(0, "01", iBeacon(toHex(numbers)));
  }
  const Json report = reported(records, {"--filter", kUuid});
  EXPECT_EQ(report["run"]["beacons"].size(), 1000U);
  EXPECT_EQ(report["beaconsLeftOut"], 100);
}

/// Reports on a scenario of these lines.
Outcome runScenario(const std::string& lines, std::vector<std::string> options = {}) {
  const TemporaryFile file(lines);
  const std::string scenario = file.path() + ".jsonl";
  std::filesystem::rename(file.path(), scenario);
  options.insert(options.begin(), {"report", scenario, "--json"});
  Outcome outcome = runCommand(options);
  std::filesystem::remove(scenario);
  return outcome;
}

std::string advertise(const std::string& last, const std::string& parts,
                      const std::string& times = "") {
  std::string line = R"({"at": 1, "advertise": {"address": "C6:55:44:33:)";
  return line.append(last).append(R"(", "rssi": -60, )").append(parts + "}" + times + "}\n");
}

std::string lanesOf(const Json& report) {
  std::string lanes;
  for (const Json& lane : report["lanes"]) {
    for (const Json& stretch : lane["stretches"]) {
      lanes.append(stretch["state"].get<std::string>()).append(stretch["from"].dump());
      lanes.append("-").append(stretch["to"].dump()).append(" ");
    }
  }
  return lanes;
}

TEST(ReportJson, TellsOfAScenarioWithItsOwnApplicationAndPhone) {
  const Json report =
      Json::parse(runScenario(R"({"phone": {"authorization": "whenInUse", "regionExitDelay": 2}}
{"listen": true}
{"call": "startDetection", "arguments": {"filters": [{"uuid": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0", "identifier": "Desk"}]}}
{"at": 1, "advertise": {"address": "C6:55:44:33:22:01", "manufacturerData": "4C000215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5", "rssi": -60}, "every": 0.5, "for": 2}
{"at": 4, "bluetooth": "poweredOff"}
{"at": 5, "advertise": {"address": "C6:55:44:33:22:01", "name": "x", "rssi": -60}}
{"at": 5, "advertise": {"address": "C6:55:44:33:22:02", "name": "y", "rssi": -60}}
{"at": 6, "authorization": "denied"}
{"at": 7, "fail": "monitoring", "error": "none", "region": "Desk"}
{"at": 8, "wait": true}
)")
                      .output);
  expectEntries(report["source"], R"({"kind": "scenario", "begin": 1700000000000})");
  // One that nothing listened to whenever it was heard comes before one that was detected.
  EXPECT_EQ(report["missed"], 1);
  EXPECT_EQ(report["devices"][0]["fates"], Json::parse(R"({"deaf": 1})"));
  expectEntries(report["devices"][1],
                R"({"fates": {"ranged": 5, "deaf": 1}, "last": 1700000005000})");
  EXPECT_EQ(report["run"]["filters"][0]["filter"], std::string(kUuid).append("=Desk"));
  EXPECT_EQ(report["series"][1]["readings"].size(), 6U);
  EXPECT_EQ(lanesOf(report),
            "poweredOn0.0-4.0 poweredOff4.0-8.0 whenInUse0.0-6.0 denied6.0-8.0 ranged0.0-5.0 "
            "inside1.0-5.0 refused7.0-8.0 ");
}

TEST(ReportJson, TakesEventsThatNoAdvertisementLedTo) {
  const Json report = Json::parse(runScenario(R"({"listen": true}
{"call": "startDetection"}
{"at": 1, "discover": {"identifier": "00000000-0000-0000-0000-000000000001", "manufacturerData": "590001", "rssi": -50}}
)" + advertise("22:01", R"("manufacturerData": "590001")"))
                                      .output);
  EXPECT_EQ(report["run"]["events"], 2);
  EXPECT_EQ(report["devices"][0]["events"], 1);
}

TEST(ReportJson, RefusesAScenarioThatIsNotOneRun) {
  const std::string mixed = R"({"call": "startDetection"}
{"call": "startDetection", "arguments": {"filters": [{"uuid": "x"}]}}
)";
  EXPECT_TRUE(has(runScenario(mixed).errors, "with filters and without"));
  EXPECT_TRUE(has(runScenario("", {"--filter", kUuid}).errors, "leave --filter"));
}

TEST(ReportJson, CountsTheDevicesBeyondAThousand) {
  std::string lines = "{\"listen\": true}\n{\"call\": \"startDetection\"}\n{\"wait\": true}\n";
  for (std::uint64_t device = 0; device < 1100; ++device) {
    lines += advertise(toHex(big(1, device / 256)).append(":").append(toHex(big(1, device))),
                       device < 40 ? R"("name": "Lamp")" : R"("manufacturerData": "590001")");
  }
  const Json report = Json::parse(runScenario(lines).output);
  EXPECT_EQ(report["headline"], "1100 devices, 0 beacons; 1060 devices detected");
  EXPECT_EQ(report["devices"].size(), 1000U);
  EXPECT_EQ(report["series"].size(), 100U);
  EXPECT_EQ(report["seriesLeftOut"], 900);
  EXPECT_EQ(report["rest"], Json::parse(R"({"devices": 100, "heard": 100, "topics": [
      {"topic": "detected", "devices": 60},
      {"topic": "no manufacturer data, and no word in the name that says beacon", "devices": 40}]})"));
}

TEST(ReportJson, SumsUpReadingsUntilTheyFit) {
  std::string lines = "{\"wait\": true}\n";
  for (int device = 10; device < 31; ++device) {
    lines +=
        advertise("22:" + std::to_string(device),
                  R"("manufacturerData": "4C000215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5")",
                  R"(, "every": 0.016, "for": 32)");
  }
  const Json report = Json::parse(runScenario(lines + R"({"at": 33, "wait": true})").output);
  EXPECT_EQ(report["run"]["advertisements"], 21 * 2001);
  EXPECT_EQ(report["step"], 0.03125);
}

TEST(WholeFile, LeavesAFileThatCameInTheMeantime) {
  const std::string path =
      std::filesystem::temp_directory_path() / ("whole-" + std::to_string(getpid()));
  WholeFile file(path, false);
  std::filesystem::create_directory_symlink("/", path);
  EXPECT_THROW(file.keep(), InputError);
  EXPECT_TRUE(std::filesystem::is_symlink(path));
  std::filesystem::remove(path);
}

TEST(ReportPage, HoldsTheDataAsDataWhateverDevicesAreCalled) {
  const std::string name = "</script><img src=x>";
  const Outcome outcome = runOver(report(0, "01", named(name)), {"-o", "-"}, "report");
  EXPECT_EQ(outcome.output.find(name), std::string::npos);
  const std::string begin = R"(<script id="data" type="application/json">)";
  const std::size_t data = outcome.output.find(begin) + begin.size();
  const Json json = Json::parse(outcome.output.substr(data, outcome.output.find('<', data) - data));
  EXPECT_EQ(json["devices"][0]["name"], name);
}

TEST(ReportPage, IsWholeOrNotThere) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("report-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const std::string page = folder / "page.html";
  const auto made = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"report", "-o", page});
    return runCommand(options).errors;
  };
  const auto size = [&] { return std::filesystem::file_size(page); };
  EXPECT_TRUE(has(made({"missing.btsnoop"}), "missing.btsnoop: "));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  EXPECT_EQ(made({"--json"}), "");
  const auto first = size();
  EXPECT_EQ(made({}), "nimbrel: " + page +
                          ": is there already; name another file, or give --force to replace it\n");
  EXPECT_EQ(size(), first);
  const std::filesystem::path link = folder / "link";
  std::filesystem::create_symlink(page, link);
  EXPECT_EQ(runCommand({"report", "--force", "-o", link}).errors, "");
  EXPECT_GT(size(), first);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
  std::filesystem::remove_all(folder);

  EXPECT_EQ(runCommand({"report", "-o", "/dev/null"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_TRUE(has(made({}), "page.html: cannot be written: "));
  EXPECT_EQ(runCommand({"report"}).errors,
            "nimbrel: no file to write the page to; give -o PAGE.html, or -o - for the standard "
            "output\n");
}

}  // namespace
}  // namespace nimbrel::testing_support
