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
  mixedKeys.emplace_back(EncodableValue(std::int64_t{1}), "one");
  startDetection({mixedKeys});
  EXPECT_EQ(notebook.lines.front(), "🎯 Starting detection with 0 filters");

  EncodableMap mixedArguments;
  mixedArguments.emplace_back("isInForeground", true);
  mixedArguments.emplace_back(EncodableValue(), true);
  application->call("updateConfig", mixedArguments);
  EXPECT_FALSE(repliedTrue(2));
}

TEST_F(DetectionLifecycle, RangesNoFurtherRegionOnceThePermissionIsWithdrawn) {
  notebook.onRequest = [this](std::string_view operation) {
    if (operation == "startRangingBeacons") {
      phone->location().changeAuthorization(CLAuthorizationStatus::denied);
    }
  };
  startDetection({filter(), filter("0A1B2C3D-4E5F-4071-8293-A4B5C6D7E8F9")});
  EXPECT_EQ(notebook.requests, (std::vector<std::string>{"startMonitoring beacon_E2C56DB5",
                                                         "startRangingBeacons beacon_E2C56DB5",
                                                         "startMonitoring beacon_0A1B2C3D"}));
  EXPECT_TRUE(repliedTrue(1));
}

TEST_F(DetectionLifecycle, TakesBytesAndListsForNeitherTextNorMap) {
  startDetection({EncodableBytes{1, 2, 3}});
  EXPECT_EQ(notebook.lines.front(), "🎯 Starting detection with 0 filters");
}

}  // namespace
}  // namespace nimbrel::testing_support
