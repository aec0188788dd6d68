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

  /// Makes a request and returns a token that lives as long as its callback.
  std::weak_ptr<int> request(Messenger& through) {
    auto token = std::make_shared<int>(0);
    through.invokeMethod(Application::kMethodChannel, {"requestPermissions", {}},
                         [this, token](const FlutterReply& /*reply*/) { ++answers; });
    return token;
  }
  std::weak_ptr<int> request() { return request(*messenger); }

  /// Makes a request that makes another one in its answer. `inner` becomes the other one's token.
  void requestTwice(Messenger& through, std::weak_ptr<int>& inner) {
    messenger->invokeMethod(Application::kMethodChannel, {"requestPermissions", {}},
                            [&](const FlutterReply& /*reply*/) { inner = request(through); });
  }

  int answers = 0;
};

TEST_F(PermissionRequest, DropsAnEarlierOneWhenItIsAnsweredAtOnce) {
  Messenger otherMessenger;
  Registrar registrar(otherMessenger);
  NimbrelPlugin::registerWith(registrar, *phone);
  const auto earlier = request(otherMessenger);
  // The first plug-in hears of the change first, and its application asks the other one.
  std::weak_ptr<int> later;
  requestTwice(otherMessenger, later);
  phone->location().changeAuthorization(CLAuthorizationStatus::authorizedAlways);
  EXPECT_TRUE(earlier.expired());
  EXPECT_TRUE(later.expired());
  EXPECT_EQ(answers, 1);
}

TEST_F(PermissionRequest, IsDroppedWhenMadeInsideAnAnswer) {
  std::weak_ptr<int> inner;
  requestTwice(*messenger, inner);
  phone->location().changeAuthorization(CLAuthorizationStatus::authorizedWhenInUse);
  EXPECT_EQ(notebook.requests, (std::vector<std::string>(2, "requestAlwaysAuthorization")));
  EXPECT_TRUE(inner.expired());
  EXPECT_EQ(answers, 0);
}

TEST_F(PermissionRequest, TakesAnAnswerThatComesWhileItAsks) {
  notebook.onRequest = [this](std::string_view /*operation*/) {
    phone->location().changeAuthorization(CLAuthorizationStatus::denied);
  };
  EXPECT_TRUE(request().expired());
  EXPECT_EQ(answers, 1);
}

}  // namespace
}  // namespace nimbrel::testing_support
