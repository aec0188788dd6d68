#include <gtest/gtest.h>

#include <optional>

#include "host/engine/Registrar.hpp"
#import "ios/nimbrel/Sources/nimbrel/include/nimbrel/NimbrelPlugin.h"
#include "tests/frameworks/Device.h"
#include "tests/frameworks/Engine.h"
#include "tests/support/Transcripts.hpp"

namespace nimbrel::testing_support {
namespace {

/// The scenarios once more, with the Objective-C object and the frameworks between the plug-in and
/// the phone: the same transcripts are expected.
class ObjectiveCScenarios : public testing::TestWithParam<std::string> {
 protected:
  void attach(Messenger& messenger, Phone& phone, bool isRegistered) {
    device.emplace(phone);
    if (isRegistered) {
      Registrar registrar(messenger);
      [NimbrelPlugin registerWithRegistrar:[EngineRegistrar registrarFor:registrar]];
      return;
    }
    NimbrelPlugin* plugin = [[[NimbrelPlugin alloc] init] autorelease];
    const auto end = std::make_shared<fakes::ChannelEnd>(plugin);
    messenger.setMethodCallHandler(Application::kMethodChannel, end);
    messenger.setStreamHandler(Application::kEventChannel, end);
  }

  /// Made when the phone is there, and needed until the plug-in is gone.
  std::optional<fakes::Device> device;
};

TEST_P(ObjectiveCScenarios, PlayAsExpected) {
  const auto attachHere = [this](Messenger& messenger, Phone& phone, bool isRegistered) {
    @autoreleasepool {
      attach(messenger, phone, isRegistered);
    }
  };
  const std::string difference = transcriptDifference(GetParam(), attachHere);
  const int managersLeft = device.value().liveManagers;
  // Its phone is gone, to which it would pass on what a failure prints.
  device.reset();
  EXPECT_TRUE(difference.empty()) << difference;
  EXPECT_EQ(managersLeft, 0);
}

INSTANTIATE_TEST_SUITE_P(All, ObjectiveCScenarios, testing::ValuesIn(scenarioNames()),
                         [](const auto& each) { return testName(each.param); });

}  // namespace
}  // namespace nimbrel::testing_support
