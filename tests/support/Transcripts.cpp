#include "tests/support/Transcripts.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "host/scenario/Scenario.hpp"
#include "host/scenario/TranscriptDifference.hpp"

namespace nimbrel::testing_support {

namespace {

const std::filesystem::path kScenarios = NIMBREL_SOURCE_DIR "/tests/scenarios";
constexpr std::string_view kScenario = ".jsonl";
constexpr std::string_view kExpected = ".expected.jsonl";

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::vector<std::string> scenarioNames() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kScenarios)) {
    const std::string path = entry.path().lexically_relative(kScenarios).string();
    for (const std::string_view ending : {kExpected, kScenario}) {
      if (path.ends_with(ending)) {
        names.insert(path.substr(0, path.size() - ending.size()));
        break;
      }
    }
  }
  return {names.begin(), names.end()};
}

std::string scenarioText(const std::string& name) {
  return readFile(kScenarios / (name + std::string(kScenario)));
}

std::string written(const std::function<void(Output&)>& write) {
  Output output(Output::kInMemory);
  write(output);
  return output.buffer();
}

std::string transcriptDifference(const std::string& name, const PluginAttachment& attach) {
  const std::filesystem::path scenario = kScenarios / (name + std::string(kScenario));
  const std::filesystem::path expected = kScenarios / (name + std::string(kExpected));
  for (const auto& file : {scenario, expected}) {
    if (!std::filesystem::exists(file)) {
      return file.string() + " is missing: a scenario and its expected transcript come in pairs";
    }
  }
  const auto play = [&](Output& output) {
    playScenario(Scenario::parse(scenarioText(name), scenario.string()), output, attach);
  };
  return transcriptDifferences(readFile(expected), written(play), expected.string());
}

std::string testName(std::string name) {
  std::replace_if(
      name.begin(), name.end(),
      [](char letter) { return std::isalnum(static_cast<unsigned char>(letter)) == 0; }, '_');
  return name;
}

}  // namespace nimbrel::testing_support
