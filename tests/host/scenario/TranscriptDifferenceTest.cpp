#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/scenario/TranscriptDifference.hpp"

namespace nimbrel {
namespace {

TEST(TranscriptDifference, IsShownWithItsLineAndTheLinesBefore) {
  const std::string line = R"({"at": 1, "log": "\"é\""})";
  const std::string lines = line + "\n" + line + "\n";
  EXPECT_EQ(transcriptDifferences(lines + R"({"at": 2})", lines + R"({"at": 3})", "a.jsonl"),
            "a.jsonl:3: the transcript differs\n"
            "            " +
                line + "\n            " + line +
                "\n"
                "  expected: {\"at\": 2}\n    actual: {\"at\": 3}\n");
  EXPECT_EQ(transcriptDifferences(lines, line, "a.jsonl"),
            "a.jsonl:2: the transcript differs\n            " + line + "\n  expected: " + line +
                "\n    actual: the end\n");
}

TEST(TranscriptDifference, IsFollowedByTheNextOnesBehindMissingAndUnexpectedLines) {
  const auto lines = [](std::string_view names) {
    std::string text;
    for (const char name : names) {
      text.append("\"").append(1, name).append("\"\n");
    }
    return text;
  };
  const auto placesOf = [&](std::string_view expected, std::string_view actual) {
    const std::string text = transcriptDifferences(lines(expected), lines(actual), "f");
    std::string places;
    for (std::size_t at = 0; (at = text.find("f:", at)) != std::string::npos; ++at) {
      places.append(text, at + 2, text.find(':', at + 2) - at - 2).append(" ");
    }
    return places;
  };
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"abcdef", "abcdef", ""},
      {"abcdef", "abXdef", "3 "},
      {"abcdef", "abdeXf", "3 6 "},
      {"abcdefg", "aXcXeXX", "2 4 6 "},
      {"abcdefghi", "XbXdXfXhX", "1 3 5 "},
      {"abc", "xyzw", "1 2 3 "},
      {"abc", "abcdef", "4 "},
      {"abcdef", "a", "2 "},
  };
  for (const auto& [expected, actual, places] : cases) {
    EXPECT_EQ(placesOf(expected, actual), places) << expected << " " << actual;
  }
}

TEST(TranscriptDifference, HoldsNumbersOfEventsToTheirKind) {
  const std::tuple<const char*, const char*, bool> cases[] = {
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
  };
  for (const auto& [expected, actual, isEqual] : cases) {
    EXPECT_EQ(transcriptDifferences(expected, actual, "").empty(), isEqual) << expected << actual;
  }
}

}  // namespace
}  // namespace nimbrel
