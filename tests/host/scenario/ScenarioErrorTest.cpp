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
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"({"call": "x"} trailing)", "play.jsonl:1: not valid JSON at column 17"},
      {"\n# a comment\n[]", "play.jsonl:3: a step is not a JSON object"},
      {R"({"at": 1})", "play.jsonl:1: a step has no action"},
      {R"({"cal": "x"})",
       "play.jsonl:1: a step has the unknown key \"cal\" and no action; the actions are "
       "\"call\", "},
      {R"({"at": 1, "after": 1, "wait": true})",
       "play.jsonl:1: a step has both \"at\" and \"after\""},
      {R"({"after": -1, "wait": true})", "play.jsonl:1: \"after\" is not a number of seconds"},
      {R"({"clock": "now"})", "play.jsonl:1: \"clock\" is not a number"},
      {R"({"clock": -1e13})", "play.jsonl:1: \"clock\" is more than"},
      {"{\n  \"at\": 1,\n  \"wait\": true\n}",
       "play.jsonl:1: the JSON does not end on this line; write one step a line"},
      {R"({"at": 1e999, "wait": true})", "play.jsonl:1: holds a number that is too large"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1, "data": "", "name": "x"}})",
       "play.jsonl:1: \"data\" stands in place of"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1, "scanResponse": true}})",
       "play.jsonl:1: \"scanResponse\" goes with \"data\" only"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1, "data": ")" +
           std::string(3302, '0') + "\"}}",
       "play.jsonl:1: \"data\" is longer than the 1650 bytes"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1, "addressType": "odd"}})",
       "play.jsonl:1: \"addressType\" is none of \"public\", \"random\""},
      {R"({"call": "x", "listen": true})", "play.jsonl:1: a step has two actions"},
      {R"({"call": 7})", "play.jsonl:1: \"call\" is not a text"},
      {R"({"listen": true, "arguments": 1})", "play.jsonl:1: a step has the unknown key"},
      {R"({"call": "a", "call": "b"})", "play.jsonl:1: the key \"call\" stands twice"},
      {"{\"at\": 2, \"wait\": true}\n{\"at\": 1.5, \"wait\": true}",
       "play.jsonl:2: \"at\" lies before the step above it"},
      {R"({"at": -1, "wait": true})", "play.jsonl:1: \"at\" is not a number of seconds"},
      {R"({"at": "1", "wait": true})", "play.jsonl:1: \"at\" is not a number"},
      {R"({"wait": false})", "play.jsonl:1: \"wait\" is not true"},
      {"{\"wait\": true}\n{\"phone\": {}}", "play.jsonl:2: \"phone\" is not in the first object"},
      {R"({"phone": {}, "at": 0})", "play.jsonl:1: the first object has the unknown key \"at\""},
      {R"({"phone": {"colour": 1}})",
       "play.jsonl:1: \"phone\" has the unknown key \"colour\"; it may have \"systemVersion\", "},
      {R"({"phone": {"prompt": "never"}})",
       "play.jsonl:1: \"prompt\" is none of \"always\", \"whenInUse\", \"denied\", \"ignored\""},
      {R"({"phone": {"withholdsBeacons": 1}})", "play.jsonl:1: \"withholdsBeacons\" is neither"},
      {R"({"phone": {"systemVersion": "14.x"}})", "play.jsonl:1: \"systemVersion\" is not"},
      {R"({"phone": {"systemVersion": "1.2.3.4"}})", "play.jsonl:1: \"systemVersion\" is not"},
      {R"({"authorization": "allowed"})",
       "play.jsonl:1: \"authorization\" is neither one of \"notDetermined\", \"restricted\", "
       "\"denied\", \"always\", \"whenInUse\" nor an integer"},
      {R"({"bluetooth": 4.5})", "play.jsonl:1: \"bluetooth\" is neither"},
      {R"({"bluetooth": 18446744073709551615})", "play.jsonl:1: \"bluetooth\" is neither"},
      {R"({"discover": {"identifier": "x", "rssi": -1}})", "play.jsonl:1: \"identifier\" is not a"},
      {R"({"discover": {"identifier": "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0"}})",
       "play.jsonl:1: \"discover\" lacks the key \"rssi\""},
      {R"({"advertise": {"address": "C6:55:44:33:22", "rssi": -1}})", "play.jsonl:1: \"address\""},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1, "manufacturerData": "4C0"}})",
       "play.jsonl:1: \"manufacturerData\" is not an even number"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1}, "every": 1})",
       "play.jsonl:1: \"every\" and \"for\" stand together"},
      {R"({"advertise": {"address": "C6:55:44:33:22:11", "rssi": -1}, "every": 0, "for": 1})",
       "play.jsonl:1: \"every\" is not above 0"},
      {R"({"range": {"region": "r", "beacons": [{}]}})", "play.jsonl:1: an element of \"beacons\""},
      {R"({"fail": "ranging", "error": "e"})", "play.jsonl:1: a step lacks the key \"region\""},
      {R"({"fail": "location", "error": "e", "region": "r"})",
       "play.jsonl:1: a step has the unkno"},
      {R"({"fail": "everything", "error": "e"})", "play.jsonl:1: \"fail\" is none of"},
      {R"({"enter": "r", "beacon": 1})", "play.jsonl:1: \"beacon\" is neither true nor false"},
      {"{\"call\": \"x\", \"arguments\": " + std::string(300, '[') + std::string(300, ']') + "}",
       "play.jsonl:1: \"arguments\" is nested more than 256 deep"},
      {"{\"call\": \"\xFF\"}", "play.jsonl:1: not valid JSON"},
  };
  for (const auto& [text, error] : cases) {
    EXPECT_EQ(errorOf(text).substr(0, error.size()), error) << text;
  }
}

TEST(ScenarioErrors, DoNotComeFromBlankLinesCommentsOrLineEndsOfOtherSystems) {
  EXPECT_EQ(errorOf("\r\n  \n# {\n{\"phone\": {}}\r\n{\"call\": \"x\", \"arguments\": null}"),
            "no error");
}

}  // namespace
}  // namespace nimbrel
