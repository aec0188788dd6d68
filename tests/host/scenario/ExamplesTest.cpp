#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <variant>

#include "host/scenario/Scenario.hpp"

namespace nimbrel {
namespace {

TEST(Examples, HoldEachKindOfStep) {
  std::set<std::size_t> kinds;
  for (const auto& entry : std::filesystem::directory_iterator(NIMBREL_SOURCE_DIR "/example")) {
    if (entry.path().extension() != ".jsonl") {
      continue;
    }
    std::ifstream file(entry.path());
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    for (const Step& step : Scenario::parse(text, entry.path()).steps) {
      kinds.insert(step.action.index());
    }
  }
  EXPECT_EQ(kinds.size(), std::variant_size_v<Step::Action>);
}

}  // namespace
}  // namespace nimbrel
