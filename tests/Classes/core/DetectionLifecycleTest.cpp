#include "tests/support/PluginTest.hpp"

namespace nimbrel::testing_support {
namespace {

class DetectionLifecycle : public PluginTest {};

TEST_F(DetectionLifecycle, StopsBeaconRegionsOfOthersAndLeavesOtherKindsAlone) {
  phone->location().monitorForeignRegion("home");
  startDetection({filter()});
  notebook = {};
  application->call("stopDetection");
  EXPECT_EQ(notebook.requests,
            (std::vector<std::string>{"stopMonitoring beacon_E2C56DB5",
                                      "stopRangingBeacons beacon_E2C56DB5", "stopScan"}));
}

TEST_F(DetectionLifecycle, ReadsArgumentsOnlyFromMapsWhoseKeysAreAllText) {
  EncodableMap mixedKeys = filter();
  mixedKeys.emplace_back(std::int64_t{1}, "one");
  startDetection({mixedKeys});
  EXPECT_EQ(notebook.lines.front(), "🎯 Starting detection with 0 filters");

  EncodableMap mixedArguments;
  mixedArguments.emplace_back("isInForeground", true);
  mixedArguments.emplace_back(std::monostate{}, true);
  application->call("updateConfig", mixedArguments);
  EXPECT_FALSE(repliedTrue(2));
}

TEST_F(DetectionLifecycle, TakesBytesAndListsForNeitherTextNorMap) {
  startDetection({EncodableBytes{1, 2, 3}});
  EXPECT_EQ(notebook.lines.front(), "🎯 Starting detection with 0 filters");
}

}  // namespace
}  // namespace nimbrel::testing_support
