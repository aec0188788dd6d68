#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <sstream>
#include <thread>

#include "host/scenario/Desk.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/Simulation.hpp"
#include "host/scenario/StepReader.hpp"
#include "tests/support/Transcripts.hpp"

namespace nimbrel::testing_support {
namespace {

/// Plays the text, which the desk reads in pieces of that size.
std::string playAtDesk(std::string_view text, std::size_t pieceSize = 1U << 20U,
                       std::optional<double> speed = std::nullopt) {
  std::array<int, 2> input{};
  EXPECT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
  const std::jthread driver([&] {
    for (; !text.empty(); text.remove_prefix(std::min(pieceSize, text.size()))) {
      const std::string_view piece = text.substr(0, pieceSize);
      ASSERT_EQ(write(input[1], piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
    }
    close(input[1]);
  });
  std::string transcript =
      written([&](Output& output) { Desk(speed, nullptr, output).run(input[0]); });
  close(input[0]);
  return transcript;
}

/// A scenario with steps that share an instant moved a microsecond apart.
std::string stepsApart(const std::string& scenario) {
  std::string apart;
  std::istringstream lines(scenario);
  std::int64_t before = 0;
  std::int64_t last = -1;
  for (std::string line; std::getline(lines, line);) {
    if (isSkipped(line) || isPhoneLine(parseJsonLine(line))) {
      apart += line + "\n";
      continue;
    }
    Json step = parseJsonLine(line);
    const auto at = readStep(step, MainQueue::Time(before), MainQueue::Time(before)).at;
    before = at.count();
    last = std::max(before, last + 1);
    step.erase("after");
    step["at"] = static_cast<double>(last) / 1e6;
    apart += step.dump() + "\n";
  }
  return apart;
}

/// A desk's transcript without the lines that a simulation does not have.
std::string withoutAnswers(const std::string& transcript) {
  std::string rest;
  std::istringstream lines(transcript);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(",\"done\":") == std::string::npos) {
      rest += line + "\n";
    }
  }
  return rest;
}

class DeskScenarios : public ::testing::TestWithParam<std::string> {};

TEST_P(DeskScenarios, PlayAsInASimulation) {
  const std::string scenario = stepsApart(scenarioText(GetParam()));
  std::string expected =
      written([&](Output& output) { playScenario(Scenario::parse(scenario, GetParam()), output); });
  EXPECT_EQ(withoutAnswers(playAtDesk(scenario)), expected);
}

INSTANTIATE_TEST_SUITE_P(All, DeskScenarios, ::testing::ValuesIn(scenarioNames()),
                         [](const auto& each) { return testName(each.param); });

TEST(Desk, AnswersEachStepBehindAllThatFollowsFromIt) {
  EXPECT_EQ(playAtDesk("# a comment\n"
                       "{\"phone\": {\"bluetooth\": \"poweredOff\"}}\n"
                       "\n"
                       "{\"call\": \"stopDetection\"}\n"
                       "{\"after\": 1.5, \"wait\": true}\n"),
            playAtDesk("{\"phone\": {\"bluetooth\": \"poweredOff\"}}\n") +
                "{\"at\":0.0,\"request\":\"stopScan\"}\n"
                "{\"at\":0.0,\"reply\":\"stopDetection\",\"call\":1,\"value\":true}\n"
                "{\"at\":0.0,\"done\":4}\n"
                "{\"at\":1.5,\"done\":5}\n");
}

TEST(Desk, GoesOnBehindALineThatCannotBePlayed) {
  const std::string registration = playAtDesk("");
  const std::string unknown = R"({"call": "x"})"
                              "\n";
  const auto reply = [](const char* at, int call) {
    return "{\"at\":" + std::string(at) + ",\"reply\":\"x\",\"call\":" + std::to_string(call) +
           ",\"notImplemented\":true}\n";
  };
  EXPECT_EQ(playAtDesk("{\"at\": 2, \"wait\": tru}\n" + unknown +
                       "{\"at\": 3, \"wait\": true}\n{\"at\": 1, \"call\": \"x\"}\n"
                       "{\"phone\": {}}\n" +
                       unknown),
            "{\"at\":0.0,\"error\":\"not valid JSON at column 22; write one JSON object a "
            "line\",\"line\":1}\n" +
                registration + reply("0.0", 1) +
                "{\"at\":0.0,\"done\":2}\n{\"at\":3.0,\"done\":3}\n"
                "{\"at\":3.0,\"error\":\"\\\"at\\\" lies before the step above it\",\"line\":4}\n"
                "{\"at\":3.0,\"error\":\"\\\"phone\\\" is not in the first object\",\"line\":5}\n" +
                reply("3.0", 2) + "{\"at\":3.0,\"done\":6}\n");
}

TEST(Desk, ReadsLinesInPiecesAndTheLastOneWithoutItsEnd) {
  const std::string steps = "{\"call\": \"a\"}\n{\"after\": 1, \"call\": \"b\"}";
  const std::string expected = playAtDesk(steps + "\n");
  for (const std::size_t size : {1U, 2U, 7U}) {
    EXPECT_EQ(playAtDesk(steps, size), expected) << size;
  }
  EXPECT_NE(expected.find("\"at\":1.0,\"done\":2"), std::string::npos);
}

TEST(Desk, ReadsALineOfTenMegabytes) {
  const std::string name(10U << 20U, 'a');
  const std::string transcript = playAtDesk("{\"call\": \"" + name + "\"}\n[" + name);
  EXPECT_NE(transcript.find(name + "\",\"call\":1,\"notImplemented\":true"), std::string::npos);
  EXPECT_TRUE(transcript.ends_with("\"line\":2}\n"));
  EXPECT_LT(transcript.size() - transcript.rfind("{\"at\""), 200U);
}

TEST(Desk, PlaysStepsWhenTheyComeOrAreDueInRealTime) {
  // A million times as fast: the step waits for a millisecond.
  const std::string transcript = playAtDesk(
      "{\"at\": 1000, \"call\": \"a\"}\n{\"call\": \"b\"}\n{\"at\": 1000, \"call\": \"c\"}\n"
      "{\"at\": 999, \"call\": \"d\"}\n",
      1U << 20U, 1e6);
  EXPECT_NE(transcript.find("{\"at\":1000.0,\"done\":1}"), std::string::npos);
  const std::size_t second = transcript.find("\"done\":2");
  EXPECT_LT(second, transcript.find("\"done\":3"));
  EXPECT_NE(transcript.find("lies before the step above it\",\"line\":4"), std::string::npos);
}

TEST(Desk, EndsWhenItsReaderIsGone) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  ASSERT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
  close(output[0]);
  Output closed(output[1]);
  // The input stays open: nothing but the closed output ends the desk.
  Desk(std::nullopt, nullptr, closed).run(input[0]);
  close(output[1]);
  close(input[0]);
  close(input[1]);
}

}  // namespace
}  // namespace nimbrel::testing_support
