#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/base/InputError.hpp"
#include "host/scenario/Scenario.hpp"

namespace nimbrel {
namespace {

std::string errorOf(const std::string& text) {
  try {
    Scenario::parse(text, "play.jsonl");
  } catch (const InputError& error) {
    return error.what();
  }
  return "no error";
}

TEST(ScenarioErrors, NameTheLineAndWhatIsWrong) {
  const std::string device = R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1)";
  const struct {
    std::string text;
    std::string error;
    int line = 1;
  } cases[] = {
      {R"({"call": "x"} trailing)", "not valid JSON at column 17"},
      {"\n# a comment\n[]", "a step is not a JSON object", 3},
      {R"({"at": 1})", "a step has no action"},
      {R"({"cal": "x"})",
       "a step has the unknown key \"cal\" and no action; the actions are \"call\", "},
      {R"({"at": 1, "after": 1, "wait": true})", "a step has both \"at\" and \"after\""},
      {R"({"after": -1, "wait": true})", "\"after\" is not a number of seconds"},
      {R"({"clock": "now"})", "\"clock\" is not a number"},
      {R"({"clock": -1e13})", "\"clock\" is more than"},
      {"{\n  \"at\": 1,\n  \"wait\": true\n}",
       "the JSON does not end on this line; write one step a line"},
      {R"({"at": 1e999, "wait": true})", "holds a number that is too large"},
      {device + R"(, "data": "", "name": "x"}})", "\"data\" stands in place of"},
      {device + R"(, "scanResponse": true}})", "\"scanResponse\" goes with \"data\" only"},
      {device + R"(, "data": ")" + std::string(3302, '0') + "\"}}",
       "\"data\" is longer than the 1650 bytes"},
      {device + R"(, "addressType": "odd"}})", "\"addressType\" is none of \"public\", \"random\""},
      {R"({"call": "x", "listen": true})", "a step has two actions"},
      {R"({"call": 7})", "\"call\" is not a text"},
      {R"({"listen": true, "arguments": 1})", "a step has the unknown key"},
      {R"({"call": "a", "call": "b"})", "the key \"call\" stands twice"},
      {"{\"at\": 2, \"wait\": true}\n{\"at\": 1.5, \"wait\": true}",
       "\"at\" lies before the step above it", 2},
      {R"({"at": -1, "wait": true})", "\"at\" is not a number of seconds"},
      {R"({"at": "1", "wait": true})", "\"at\" is not a number"},
      {R"({"wait": false})", "\"wait\" is not true"},
      {"{\"wait\": true}\n{\"phone\": {}}", "\"phone\" is not in the first object", 2},
      {R"({"phone": {}, "at": 0})", "the first object has the unknown key \"at\""},
      {R"({"phone": {"colour": 1}})",
       "\"phone\" has the unknown key \"colour\"; it may have \"systemVersion\", "},
      {R"({"phone": {"prompt": "never"}})",
       "\"prompt\" is none of \"always\", \"whenInUse\", \"denied\", \"ignored\""},
      {R"({"phone": {"withholdsBeacons": 1}})", "\"withholdsBeacons\" is neither"},
      {R"({"phone": {"systemVersion": "14.x"}})", "\"systemVersion\" is not"},
      {R"({"phone": {"systemVersion": "1.2.3.4"}})", "\"systemVersion\" is not"},
      {R"({"authorization": "allowed"})",
       "\"authorization\" is neither one of \"notDetermined\", \"restricted\", \"denied\", "
       "\"always\", \"whenInUse\" nor an integer"},
      {R"({"bluetooth": 4.5})", "\"bluetooth\" is neither"},
      {R"({"bluetooth": 18446744073709551615})", "\"bluetooth\" is neither"},
      {R"({"discover": {"identifier": "x", "rssi": -1}})", "\"identifier\" is not a"},
      {R"({"discover": {"identifier": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0"}})",
       "\"discover\" lacks the key \"rssi\""},
      {R"({"advertise": {"address": "C6:55:44:33:22", "rssi": -1}})", "\"address\""},
      {device + R"(, "manufacturerData": "4C0"}})", "\"manufacturerData\" is not an even number"},
      {device + R"(}, "every": 1})", "\"every\" and \"for\" stand together"},
      {device + R"(}, "every": 0, "for": 1})", "\"every\" is not above 0"},
      {R"({"range": {"region": "r", "beacons": [{}]}})", "an element of \"beacons\""},
      {R"({"fail": "ranging", "error": "e"})", "a step lacks the key \"region\""},
      {R"({"fail": "location", "error": "e", "region": "r"})", "a step has the unkno"},
      {R"({"fail": "everything", "error": "e"})", "\"fail\" is none of"},
      {R"({"enter": "r", "beacon": 1})", "\"beacon\" is neither true nor false"},
      {"{\"call\": \"x\", \"arguments\": " + std::string(300, '[') + std::string(300, ']') + "}",
       "\"arguments\" is nested more than 256 deep"},
      {"{\"call\": \"\xFF\"}", "not valid JSON"},
  };
  for (const auto& [text, error, line] : cases) {
    const std::string begin = "play.jsonl:" + std::to_string(line) + ": " + error;
    EXPECT_EQ(errorOf(text).substr(0, begin.size()), begin) << text;
  }
}

TEST(ScenarioErrors, DoNotComeFromBlankLinesCommentsOrLineEndsOfOtherSystems) {
  EXPECT_EQ(errorOf("\r\n  \n# {\n{\"phone\": {}}\r\n{\"call\": \"x\", \"arguments\": null}"),
            "no error");
}

}  // namespace
}  // namespace nimbrel
