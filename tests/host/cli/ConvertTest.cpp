#include <filesystem>

#include "host/cli/Bundled.hpp"
#include "tests/support/Conversions.hpp"
#include "tests/support/Reports.hpp"

namespace nimbrel::testing_support {
namespace {

/// A report of the device C6:55:44:33:22:11.
Bytes heard(double seconds, const char* data, const char* kind = "00 01") {
  return report(seconds, "11", hex(data), -60, kind);
}

/// A record without a report.
Bytes mark(double seconds) { return btsnoopRecord(3, stamp(seconds), hex("04 FF 00")); }

/// The scenario that is written of a recording of these records.
std::string scenarioOf(const Bytes& records, std::vector<std::string> options = {}) {
  options.insert(options.begin(), {"convert", "-", "-"});
  const Outcome outcome = runCommand(options, recording(records));
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  return outcome.output;
}

/// A step of that device.
std::string step(const std::string& at, const std::string& data, const char* type = "random",
                 const char* more = "") {
  return std::string("{\"at\": ")
      .append(at)
      .append(R"(, "advertise": {"address": "C6:55:44:33:22:11", "addressType": ")")
      .append(type)
      .append("\", \"data\": \"" + data + "\"")
      .append(more)
      .append(", \"rssi\": -60}}\n");
}

TEST(Convert, KeepsTheDetectionsOfTheBundledRecording) {
  expectFaithfulConversions(bundledRecording());
}

TEST(Convert, WritesAStepForEachAdvertisementAndClock) {
  const Bytes records =
      mark(0) + heard(0.25, "020106") + heard(0.25, "", "04 00") + heard(-3600, "00");
  const std::string start = "# -: 3 advertisements from 2 devices in 0.2 s\n";
  const std::string steps = step("0.25", "020106") +
                            step("0.25", "", "public", ", \"scanResponse\": true") +
                            "{\"at\": 0.25, \"clock\": 1699996400}\n" + step("0.25", "00");
  EXPECT_EQ(scenarioOf(records), start + "{\"phone\": {\"clock\": 1700000000}}\n" + steps);
  EXPECT_EQ(scenarioOf(records, {"--generic", "--phone", "iphone"}),
            start + "{\"phone\": {\"withholdsBeacons\": true, \"clock\": 1700000000}}\n" +
                "{\"at\": 0, \"listen\": true}\n{\"at\": 0, \"call\": \"startDetection\"}\n" +
                steps + "{\"at\": 1.25, \"wait\": true}\n");
  const std::string uuid = kUuid;
  EXPECT_TRUE(has(scenarioOf(heard(0, ""), {"--filter", uuid + "//7=a\"b", "--filter", uuid}),
                  R"("startDetection", "arguments": {"filters": [{"uuid": ")" + uuid +
                      R"(", "minorId": 7, "identifier": "a\"b"}, {"uuid": ")" + uuid + "\"}]}}"));
}

TEST(Convert, TakesThePartThatIsAskedFor) {
  const Bytes records = heard(0, "00") + heard(1, "01") + heard(1.5, "02", "00 00") +
                        heard(2, "03") + heard(3, "04") + mark(10);
  const auto part = [&](const std::vector<std::string>& options) {
    const std::string text = scenarioOf(records, options);
    return text.substr(text.find("{\"phone\""));
  };
  const std::string atOne = "{\"phone\": {\"clock\": 1700000001}}\n";
  EXPECT_EQ(part({"--from", "1", "--for", "2", "--device", "66:55:44:33:22:11", "--device",
                  "c6:55:44:33:22:11"}),
            atOne + step("0", "01") + step("0.5", "02", "public") + step("1", "03") +
                "{\"at\": 2, \"wait\": true}\n");
  EXPECT_EQ(part({"--from", "3"}), "{\"phone\": {\"clock\": 1700000003}}\n" + step("0", "04") +
                                       "{\"at\": 7, \"wait\": true}\n");
  EXPECT_EQ(part({"--from", "2.5", "--for", "7.75", "--generic"}),
            "{\"phone\": {\"clock\": 1700000002.5}}\n{\"at\": 0, \"listen\": true}\n"
            "{\"at\": 0, \"call\": \"startDetection\"}\n" +
                step("0.5", "04") + "{\"at\": 7.75, \"wait\": true}\n");
}

TEST(Convert, MakesDevicesAnonymousButNotTheirDetections) {
  const std::string frame = "4C000215E2C56DB5DFFB48D2B060D0F5A71096E000010002C5";
  const Bytes records =
      heard(0, "020106 020AF4 03030102 0001") + report(1, "11", named("Ann's BEACON")) +
      heard(2, "05FF59000102") + heard(3, "05FF59000103") + heard(4, "05FF59000102") +
      report(5, "11", named("Bob") + maker(frame + "0102")) + heard(6, "05FF5900");
  const std::string text = scenarioOf(records, {"--anonymize"});
  expectFaithfulConversions(btsnoop(1002, records));
  EXPECT_EQ(text.find("# an anonymized recording: 7 advertisements from 1 device in 6.0 s\n"), 0U);
  const auto address = text.substr(text.find("address\": \"") + 11, 17);
  EXPECT_NE(address, "C6:55:44:33:22:11");
  EXPECT_NE(std::string("CDEF").find(address.front()), std::string::npos) << address;
  std::size_t place = 0;
  for (const Bytes& data : {hex("020106020AF4030300000000"), named("Device 1 beacon"),
                            hex("05FF59000000"), hex("05FF59000001"), hex("05FF59000000"),
                            named("Device 2") + maker(frame + "0000"), hex("00000000")}) {
    place =
        text.find(address + "\", \"addressType\": \"random\", \"data\": \"" + toHex(data), place);
    EXPECT_NE(place, std::string::npos) << toHex(data) << "\n" << text;
  }
}

TEST(Convert, PutsTheAirOfAScenarioIntoACapture) {
  const TemporaryFile scenario(
      "# a comment\n"
      "{\"phone\": {\"clock\": 1700000000.5}}\n"
      R"({"advertise": {"address": "C6:55:44:33:22:11", "name": "A", "manufacturerData": "5900",)"
      " \"rssi\": -59.6}, \"every\": 0.5, \"for\": 9}\n"
      "{\"call\": \"startDetection\"}\n{\"at\": 0.25, \"clock\": 1600000000}\n" +
      step("0.75", std::string(64, '0')) + "{\"after\": 0.1, \"wait\": true}\n");
  const TemporaryFile capture("");
  const std::string path = capture.path() + ".btsnoop";
  const Outcome outcome = runCommand({"convert", scenario.path(), path});
  EXPECT_EQ(outcome.errors,
            "nimbrel: " + scenario.path() +
                ": 2 advertisements rounded or cut to what a recording can hold: signal strengths "
                "are whole numbers from -128 to 127, names and manufacturer data 254 bytes at "
                "most\n");
  const std::string back = runCommand({"convert", path, "-"}).output;
  std::filesystem::remove(path);
  EXPECT_EQ(back, std::string("# ").append(path) +
                      ": 3 advertisements from 1 device in 0.3 s\n"
                      "{\"phone\": {\"clock\": 1700000000.5}}\n" +
                      step("0", "03FF5900020941") + "{\"at\": 0, \"clock\": 1600000000.25}\n" +
                      step("0", "03FF5900020941") + step("0.25", std::string(64, '0')) +
                      "{\"at\": 0.35, \"wait\": true}\n");
}

TEST(Convert, SaysWhatItCannotDo) {
  const TemporaryFile walk(recording(heard(0, "")));
  const TemporaryFile play("{\"at\": 0, \"wait\": true}\n");
  const TemporaryFile wrong("\n{\"at\": 0, \"weit\": true}\n");
  const TemporaryFile far("{\"phone\": {\"clock\": 9e12}}\n");
  const TemporaryFile other("");
  const std::string copy = other.path() + ".btsnoop";
  std::filesystem::copy_file(walk.path(), copy);
  const std::string nothing = "holds no advertisement to convert";
  const std::string seeScan = "; see what there is with nimbrel scan";
  const std::string nobody =
      " is for a scenario, and a capture has no application and no phone; "
      "leave it out, or name OUT .jsonl";
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, "IN and OUT are missing; give for example nimbrel convert walk.btsnoop walk.jsonl"},
      {{"a"}, "OUT is missing; give for example nimbrel convert walk.btsnoop walk.jsonl"},
      {{"a", "b.pcap"},
       "OUT 'b.pcap' is neither a scenario nor a capture by its name; give one that ends in "
       ".jsonl or .btsnoop, or '-'"},
      {{"a", "-", "--device", "C6:55:44:33:22"},
       "--device 'C6:55:44:33:22' is no address; give one such as C6:55:44:33:22:11"},
      {{"a", "-", "--generic", "--filter", kUuid},
       "--generic and --filter exclude each other; leave one of them out"},
      {{"a", "b.btsnoop", "--generic"}, "--generic" + nobody},
      {{"a", "b.btsnoop", "--filter", kUuid}, "--filter" + nobody},
      {{"a", "b.btsnoop", "--phone", "iphone"}, "--phone" + nobody},
      {{copy, copy, "--force"}, "OUT is IN itself; name another file"},
      {{walk.path(), copy},
       copy + ": is there already; name another file, or give --force to replace it"},
      {{play.path(), "-"}, "IN is a scenario already; name OUT .btsnoop to make a capture of it"},
      {{wrong.path(), "b.btsnoop"},
       wrong.path() + ":2: a step has the unknown key \"weit\" and no action; the actions are "},
      {{far.path(), "b.btsnoop"},
       far.path() + ": its clock leaves the years 0 to 9999, and a recording can hold no other "
                    "time; set it to one of them"},
      {{play.path(), "b.btsnoop"}, play.path() + ": " + nothing + seeScan},
      {{walk.path(), "-", "--device", "C6:55:44:33:22:12", "--from", "1"},
       walk.path() + ": " + nothing + " of --device between --from and --for" + seeScan},
  };
  for (const auto& [arguments, message] : cases) {
    std::vector<std::string> line{"convert"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    const Outcome outcome = runCommand(line);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors.substr(0, message.size() + 9), "nimbrel: " + message);
    EXPECT_EQ(outcome.output, "");
  }
  EXPECT_FALSE(std::filesystem::exists("b.btsnoop"));
  EXPECT_EQ(runCommand({"convert", walk.path(), copy, "--force"}).status, 0);
  std::filesystem::remove(copy);
}

}  // namespace
}  // namespace nimbrel::testing_support
