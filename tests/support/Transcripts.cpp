#include "tests/support/Transcripts.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/cli/Scenario.hpp"

namespace nimbrel::testing_support {

namespace {

using Json = nlohmann::json;

const std::filesystem::path kScenarios = NIMBREL_SOURCE_DIR "/tests/scenarios";
constexpr std::string_view kExpected = ".expected.jsonl";

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string play(const std::string& text, const std::string& name, const PluginAttachment& attach) {
  const int descriptor = memfd_create("transcript", MFD_CLOEXEC);
  Output output(descriptor);
  playScenario(Scenario::parse(text, name), output, attach);
  output.flush();
  std::string transcript = readFile("/proc/self/fd/" + std::to_string(descriptor));
  close(descriptor);
  return transcript;
}

bool areEqual(const Json& expected, const Json& actual, bool isEvent) {
  if (expected.is_object() && actual.is_object()) {
    return expected.size() == actual.size() &&
           std::all_of(expected.items().begin(), expected.items().end(), [&](const auto& item) {
             return actual.contains(item.key()) &&
                    areEqual(item.value(), actual[item.key()], isEvent || item.key() == "event");
           });
  }
  if (expected.is_number() && actual.is_number()) {
    const auto expectedNumber = expected.get<double>();
    return (!isEvent || expected.is_number_float() == actual.is_number_float()) &&
           std::abs(expectedNumber - actual.get<double>()) <= 1e-5 * std::abs(expectedNumber);
  }
  return expected == actual;
}

}  // namespace

std::vector<std::string> scenarioNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kScenarios)) {
    const std::string path = entry.path().lexically_relative(kScenarios).string();
    if (path.ends_with(kExpected)) {
      names.push_back(path.substr(0, path.size() - kExpected.size()));
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string transcriptDifference(const std::string& name, const PluginAttachment& attach) {
  const std::string scenario = readFile(kScenarios / (name + ".jsonl"));
  std::istringstream expectedLines(readFile(kScenarios / (name + std::string(kExpected))));
  std::istringstream actualLines(play(scenario, name, attach));
  std::string expected;
  std::string actual;
  while (true) {
    const bool hasExpected = static_cast<bool>(std::getline(expectedLines, expected));
    const bool hasActual = static_cast<bool>(std::getline(actualLines, actual));
    if (!hasExpected && !hasActual) {
      return {};
    }
    if (!hasExpected || !hasActual ||
        !areEqual(Json::parse(expected), Json::parse(actual), false)) {
      return "expected: " + (hasExpected ? expected : "the end") +
             "\n  actual: " + (hasActual ? actual : "the end");
    }
  }
}

std::string testName(std::string name) {
  std::replace_if(
      name.begin(), name.end(),
      [](char letter) { return std::isalnum(static_cast<unsigned char>(letter)) == 0; }, '_');
  return name;
}

}  // namespace nimbrel::testing_support
