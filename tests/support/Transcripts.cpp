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
#include <set>
#include <sstream>

#include "host/scenario/Scenario.hpp"

namespace nimbrel::testing_support {

namespace {

using Json = nlohmann::json;

const std::filesystem::path kScenarios = NIMBREL_SOURCE_DIR "/tests/scenarios";
constexpr std::string_view kScenario = ".jsonl";
constexpr std::string_view kExpected = ".expected.jsonl";

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool areEqual(const Json& expected, const Json& actual, bool isInEvent) {
  if (expected.is_object() && actual.is_object()) {
    return expected.size() == actual.size() &&
           std::all_of(expected.items().begin(), expected.items().end(), [&](const auto& item) {
             return actual.contains(item.key()) &&
                    areEqual(item.value(), actual[item.key()], isInEvent || item.key() == "event");
           });
  }
  if (isInEvent && expected.is_number_float() && actual.is_number_float()) {
    const auto number = expected.get<double>();
    return std::abs(number - actual.get<double>()) <= 1e-5 * std::abs(number);
  }
  return expected == actual &&
         (!isInEvent || expected.is_number_float() == actual.is_number_float());
}

/// A line that is not JSON is equal to none.
Json parsed(const std::string& line) { return Json::parse(line, nullptr, false); }

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
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
  const int descriptor = memfd_create("output", MFD_CLOEXEC);
  Output output(descriptor);
  write(output);
  output.flush();
  std::string text = readFile("/proc/self/fd/" + std::to_string(descriptor));
  close(descriptor);
  return text;
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
  return firstDifference(readFile(expected), written(play), expected.string());
}

std::string firstDifference(const std::string& expected, const std::string& actual,
                            std::string_view file) {
  constexpr std::size_t kContext = 3;
  const std::vector<std::string> wanted = linesOf(expected);
  const std::vector<std::string> played = linesOf(actual);
  std::size_t index = 0;
  while (index < wanted.size() && index < played.size() &&
         areEqual(parsed(wanted[index]), parsed(played[index]), false)) {
    ++index;
  }
  if (index == wanted.size() && index == played.size()) {
    return {};
  }
  std::ostringstream text;
  text << file << ":" << index + 1 << ": the transcript differs\n";
  for (std::size_t before = index - std::min(index, kContext); before < index; ++before) {
    text << "            " << wanted[before] << "\n";
  }
  text << "  expected: " << (index < wanted.size() ? wanted[index] : "the end") << "\n"
       << "    actual: " << (index < played.size() ? played[index] : "the end") << "\n";
  return text.str();
}

std::string testName(std::string name) {
  std::replace_if(
      name.begin(), name.end(),
      [](char letter) { return std::isalnum(static_cast<unsigned char>(letter)) == 0; }, '_');
  return name;
}

}  // namespace nimbrel::testing_support
