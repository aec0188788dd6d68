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

}  // namespace
}  // namespace nimbrel::testing_support
