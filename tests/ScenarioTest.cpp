#include <gtest/gtest.h>

#include "tests/support/Transcripts.hpp"

namespace nimbrel::testing_support {
namespace {

class Scenarios : public testing::TestWithParam<std::string> {};

TEST_P(Scenarios, PlayAsExpected) {
  const std::string difference = transcriptDifference(GetParam());
  EXPECT_TRUE(difference.empty()) << difference;
}

INSTANTIATE_TEST_SUITE_P(All, Scenarios, testing::ValuesIn(scenarioNames()),
                         [](const auto& each) { return testName(each.param); });

TEST(TranscriptDifference, IsShownWithItsLineAndTheLinesBefore) {
  const std::string line = R"({"at": 1, "log": "\"é\""})";
  const std::string lines = line + "\n" + line + "\n";
  EXPECT_EQ(firstDifference(lines + R"({"at": 2})", lines + R"({"at": 3})", "a.jsonl"),
            "a.jsonl:3: the transcript differs\n"
            "            " +
                line + "\n            " + line +
                "\n"
                "  expected: {\"at\": 2}\n    actual: {\"at\": 3}\n");
  EXPECT_EQ(firstDifference(lines, line, "a.jsonl"),
            "a.jsonl:2: the transcript differs\n            " + line + "\n  expected: " + line +
                "\n    actual: the end\n");
}

TEST(TranscriptDifference, HoldsNumbersOfEventsToTheirKind) {
  struct Case {
    const char* expected;
    const char* actual;
    bool isEqual;
  };
  for (const auto& [expected, actual, isEqual] : std::vector<Case>{
           {R"({"at": 0, "log": "a"})", R"({"log": "a", "at": 0.0})", true},
           {R"({"at": 1.000001})", R"({"at": 1.000002})", false},
           {R"({"event": {"ts": 1700000000000}})", R"({"event": {"ts": 1700000000001}})", false},
           {R"({"event": {"rssi": -59.0}})", R"({"event": {"rssi": -59}})", false},
           {R"({"event": {"distance": 2.0}})", R"({"event": {"distance": 2.00001}})", true},
           {R"({"event": {"distance": 2.0}})", R"({"event": {"distance": 2.00003}})", false},
           {R"({"event": {"distance": null}})", R"({"event": {"distance": 0.0}})", false},
           {R"({"event": {"name": ""}})", R"({"event": {"name": "", "mac": ""}})", false},
           {R"({"event": {"name": "", "mac": ""}})", R"({"event": {"name": ""}})", false},
           {"", R"({"at": 0})", false},
       }) {
    EXPECT_EQ(firstDifference(expected, actual, "").empty(), isEqual) << expected << actual;
  }
}

}  // namespace
}  // namespace nimbrel::testing_support
