#include "tests/support/PluginTest.hpp"

namespace nimbrel::testing_support {
namespace {

class PermissionRequest : public PluginTest {
 protected:
  PermissionRequest() {
    Phone::Setup setup;
    setup.location.authorization = CLAuthorizationStatus::notDetermined;
    start(setup);
  }

  /// Asks over the bare channel, with a token that lives as long as the callback does.
  std::weak_ptr<int> request() {
    auto token = std::make_shared<int>(0);
    messenger->invokeMethod(Application::methodChannel, {"requestPermissions", {}},
                            [this, token](const FlutterReply& /*reply*/) { ++answers; });
    return token;
  }

  int answers = 0;
};

TEST_F(PermissionRequest, LetsGoOfAnEarlierOneThatStillWaits) {
  const auto first = request();
  const auto second = request();
  EXPECT_TRUE(first.expired());
  EXPECT_FALSE(second.expired());
}

TEST_F(PermissionRequest, LetsGoOfAnEarlierOneWhenAnsweredAtOnce) {
  // On an old system the two statuses come from different places and may differ.
  Phone::Setup setup;
  setup.systemVersion = {13, 7, 0};
  setup.location.classAuthorization = CLAuthorizationStatus::notDetermined;
  start(setup);
  const auto waiting = request();
  EXPECT_FALSE(waiting.expired());
  letGo();
  EXPECT_TRUE(waiting.expired());
  EXPECT_EQ(answers, 0);
}

TEST_F(PermissionRequest, IsAnsweredOnceAndThenForgotten) {
  const auto waiting = request();
  phone->location().changeAuthorization(CLAuthorizationStatus::denied);
  phone->location().changeAuthorization(CLAuthorizationStatus::authorizedAlways);
  EXPECT_EQ(answers, 1);
  EXPECT_TRUE(waiting.expired());
  const auto answeredAtOnce = request();
  EXPECT_EQ(answers, 2);
  EXPECT_TRUE(answeredAtOnce.expired());
}

}  // namespace
}  // namespace nimbrel::testing_support
