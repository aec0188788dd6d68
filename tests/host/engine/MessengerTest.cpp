#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/engine/Messenger.hpp"

namespace nimbrel {
namespace {

/// A plug-in that writes down what it is told, and refuses to be listened to if asked to.
class Listener final : public FlutterPlugin, public FlutterStreamHandler {
 public:
  void handle(const FlutterMethodCall& call, FlutterResult result) override {
    told.push_back(call.method);
    result(true);
  }
  std::optional<FlutterError> onListen(const std::optional<EncodableValue>& /*arguments*/,
                                       FlutterEventSink /*sink*/) override {
    told.emplace_back("listen");
    return refuses ? std::optional(FlutterError{"refused", "no"}) : std::nullopt;
  }
  std::optional<FlutterError> onCancel(const std::optional<EncodableValue>& /*args*/) override {
    told.emplace_back("cancel");
    return std::nullopt;
  }

  bool refuses = false;
  std::vector<std::string> told;
};

class MessengerTest : public ::testing::Test {
 protected:
  MessengerTest() {
    messenger.eventChannelWithName("events")->setStreamHandler(listener);
    messenger.setMethodCallHandler("methods", listener);
  }

  std::optional<FlutterError> listen() {
    return messenger.listen("events", [](const EncodableValue& /*event*/) {});
  }

  Messenger messenger;
  std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(MessengerTest, EndsTheRunningListeningBeforeANewOne) {
  listen();
  listen();
  messenger.cancel("events");
  EXPECT_EQ(listener->told, (std::vector<std::string>{"listen", "cancel", "listen", "cancel"}));
}

TEST_F(MessengerTest, TellsTheHandlerNothingOfACancelWithoutListening) {
  EXPECT_TRUE(messenger.cancel("events").has_value());
  listener->refuses = true;
  EXPECT_EQ(listen()->code, "refused");
  EXPECT_TRUE(messenger.cancel("events").has_value());
  EXPECT_EQ(listener->told, (std::vector<std::string>{"listen"}));
}

TEST_F(MessengerTest, KeepsOneHandlerForEachChannelAndLetsGoOfTheOneBefore) {
  const std::weak_ptr<Listener> first = listener;
  const auto second = std::make_shared<Listener>();
  listener = second;
  messenger.setMethodCallHandler("methods", second);
  EXPECT_FALSE(first.expired());
  messenger.setStreamHandler("events", second);
  EXPECT_TRUE(first.expired());
}

TEST_F(MessengerTest, AnswersForChannelsThatNobodyHandles) {
  std::optional<FlutterReply> reply;
  messenger.invokeMethod("other", {"anything", {}},
                         [&](const FlutterReply& value) { reply = value; });
  EXPECT_TRUE(std::holds_alternative<FlutterMethodNotImplemented>(*reply));
  EXPECT_TRUE(messenger.listen("other", nullptr).has_value());
}

}  // namespace
}  // namespace nimbrel
