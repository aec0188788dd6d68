#include <functional>

#include "tests/ios/World.h"

namespace nimbrel {
namespace {

class Lifetime : public World {
 protected:
  Lifetime() { phone.location().changeAuthorization(CLAuthorizationStatus::notDetermined); }

  /// A callback that calls `called`. While it is held, it is one more holder of `captured`.
  static ios::Retained<::FlutterResult> callback(const std::function<void()>& called,
                                                 const std::shared_ptr<int>& captured) {
    const std::function<void()> call = called;
    const std::shared_ptr<int> holder = captured;
    return ios::Retained<::FlutterResult>(^(id) {
      static_cast<void>(holder);
      call();
    });
  }

  /// A permission request that the user has yet to answer.
  void request(const std::function<void()>& answered,
               const std::shared_ptr<int>& captured = nullptr) {
    [plugin handleMethodCall:[::FlutterMethodCall methodCallWithMethodName:@"requestPermissions"
                                                                 arguments:nil]
                      result:callback(answered, captured).get()];
  }

  void listen(const std::function<void()>& received,
              const std::shared_ptr<int>& captured = nullptr) {
    [plugin onListenWithArguments:nil eventSink:callback(received, captured).get()];
  }

  void detect() { phone.bluetooth().discover({UUID{}, "Beacon"}, {}, -60.0); }

  std::shared_ptr<int> token = std::make_shared<int>();
};

TEST_F(Lifetime, IsHeldByItsTwoChannelsAlone) {
  EXPECT_EQ([plugin retainCount], 2U);
  EXPECT_EQ(device.liveManagers, 2);
}

TEST_F(Lifetime, EndsWithItsManagersWhenTheChannelsLetGo) {
  messenger.reset();
  EXPECT_EQ(device.liveManagers, 0);
  queue.drain();
  EXPECT_EQ(trace, Trace());
}

TEST_F(Lifetime, IsNotProlongedByAQueuedDetection) {
  listen([] { ADD_FAILURE(); });
  detect();
  messenger.reset();
  EXPECT_EQ(device.liveManagers, 0);
  queue.drain();
}

TEST_F(Lifetime, EndsAloneWhereItWasNeverRegistered) {
  plugin = [[NimbrelPlugin alloc] init];
  listen([] {}, token);
  EXPECT_EQ(token.use_count(), 2);
  [plugin release];
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(Lifetime, HoldsASinkUntilTheApplicationStopsListening) {
  int events = 0;
  listen([&] { ++events; }, token);
  detect();
  queue.drain();
  EXPECT_EQ(events, 1);
  EXPECT_EQ(token.use_count(), 2);
  [plugin onCancelWithArguments:nil];
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(Lifetime, HoldsACallbackUntilItIsAnsweredOrReplaced) {
  request([] { ADD_FAILURE(); }, token);
  EXPECT_EQ(token.use_count(), 2);
  request([] {});
  EXPECT_EQ(token.use_count(), 1);
  int answers = 0;
  request([&] { ++answers; }, token);
  phone.location().changeAuthorization(CLAuthorizationStatus::denied);
  phone.location().changeAuthorization(CLAuthorizationStatus::authorizedAlways);
  EXPECT_EQ(token.use_count(), 1);
  request([&] { ++answers; }, token);
  EXPECT_EQ(token.use_count(), 1) << "answered at once";
  EXPECT_EQ(answers, 2);
}

TEST_F(Lifetime, ReleasesAWaitingCallbackUnansweredAtItsEnd) {
  request([] { ADD_FAILURE(); }, token);
  messenger.reset();
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(Lifetime, LastsUntilTheMessageIsHandledWhoseAnswerLetsGoOfIt) {
  request([this] { messenger.reset(); });
  [plugin locationManager:nil didChangeAuthorizationStatus:kCLAuthorizationStatusAuthorizedAlways];
  EXPECT_EQ(device.liveManagers, 0);
}

}  // namespace
}  // namespace nimbrel
