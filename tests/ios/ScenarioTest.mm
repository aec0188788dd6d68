#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "host/cli/Simulation.hpp"
#include "host/engine/Registrar.hpp"
#import "ios/Classes/NimbrelPlugin.h"
#include "tests/ios/fakes/Device.h"
#include "tests/ios/fakes/Engine.h"

namespace nimbrel {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// The lines in a form of which one text means one content: a dictionary has lost the order of its
/// entries, and a number keeps its kind.
std::vector<std::string> canonicalLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(nlohmann::json::parse(line).dump());
  }
  return lines;
}

/// The transcript of a scenario that the Objective-C object plays.
std::string transcriptOf(const fs::path& path) {
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::tmpfile(), std::fclose);
  Output output(fileno(file.get()));
  std::optional<fakes::Device> device;
  @autoreleasepool {
    const auto attach = [&](Messenger& messenger, Phone& phone, bool isRegistered) {
      device.emplace(phone);
      if (isRegistered) {
        Registrar registrar(messenger);
        [NimbrelPlugin registerWithRegistrar:[EngineRegistrar registrarFor:registrar]];
        return;
      }
      NimbrelPlugin* plugin = [[[NimbrelPlugin alloc] init] autorelease];
      const auto end = std::make_shared<fakes::ChannelEnd>(plugin);
      messenger.setMethodCallHandler(Application::methodChannel, end);
      messenger.setStreamHandler(Application::eventChannel, end);
    };
    playScenario(Scenario::parse(contentOf(path), path), output, attach);
  }
  EXPECT_EQ(device->liveManagers, 0);
  output.flush();
  return contentOf("/proc/self/fd/" + std::to_string(fileno(file.get())));
}

TEST(Scenarios, HaveTheSameTranscriptsThroughTheObjectiveCPath) {
  int played = 0;
  for (const auto& entry : fs::directory_iterator(NIMBREL_SCENARIOS)) {
    fs::path expected = entry.path();
    if (expected.extension() != ".jsonl" || expected.stem().extension() == ".expected") {
      continue;
    }
    expected.replace_extension(".expected.jsonl");
    SCOPED_TRACE(entry.path().filename());
    const auto transcript = canonicalLines(transcriptOf(entry.path()));
    const auto wanted = canonicalLines(contentOf(expected));
    EXPECT_EQ(transcript.size(), wanted.size());
    for (std::size_t line = 0; line < std::min(transcript.size(), wanted.size()); ++line) {
      ASSERT_EQ(transcript[line], wanted[line]) << "line " << line + 1;
    }
    ++played;
  }
  EXPECT_GT(played, 0);
}

}  // namespace
}  // namespace nimbrel
