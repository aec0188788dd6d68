#include "tests/support/PluginTest.hpp"

namespace nimbrel::testing_support {
namespace {

/// A registrar that writes down the steps of a registration.
class WatchedRegistrar final : public FlutterPluginRegistrar, public FlutterBinaryMessenger {
 public:
  explicit WatchedRegistrar(std::vector<std::string>& steps) : steps_(steps) {}

  FlutterBinaryMessenger& messenger() override {
    steps_.emplace_back("messenger");
    return *this;
  }
  std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) override {
    steps_.push_back("methods " + std::string(name));
    return std::make_unique<MethodChannel>(line_, name);
  }
  std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) override {
    steps_.push_back("events " + std::string(name));
    return line_.eventChannelWithName(name);
  }
  void addMethodCallDelegate(std::shared_ptr<FlutterPlugin> /*delegate*/,
                             FlutterMethodChannel& /*channel*/) override {
    steps_.emplace_back("delegate");
  }

 private:
  std::vector<std::string>& steps_;
  Messenger line_;
};

TEST(RegistrationSteps, OpenBothChannelsBeforeThePluginIsConnected) {
  std::vector<std::string> steps;
  MainQueue queue;
  Notebook notebook;
  Phone phone({}, queue, notebook);
  WatchedRegistrar registrar(steps);
  NimbrelPlugin::registerWith(registrar, phone);
  EXPECT_EQ(steps, (std::vector<std::string>{"messenger", "methods com.quorvane.nimbrel/methods",
                                             "messenger", "events com.quorvane.nimbrel/events",
                                             "delegate"}));
  EXPECT_TRUE(notebook.requests.empty());
  EXPECT_TRUE(notebook.lines.empty());
}

class Lifetime : public PluginTest {};

TEST_F(Lifetime, EndsWithTheChannelsAndLeavesTheRunBehind) {
  startDetection({filter()});
  notebook = {};
  letGo();
  EXPECT_TRUE(notebook.requests.empty());
  EXPECT_TRUE(phone->location().isRanging("beacon_E2C56DB5"));
  range();
  phone->bluetooth().changeState(CBManagerState::poweredOn);
  EXPECT_TRUE(notebook.lines.empty());
}

TEST_F(Lifetime, DropsQueuedEventsOfADestroyedPlugin) {
  discover();
  letGo();
  queue.drain();
  EXPECT_TRUE(events.empty());
}

TEST_F(Lifetime, DropsTheFirstStateReportOfADestroyedPlugin) {
  Messenger other;
  {
    Registrar registrar(other);
    NimbrelPlugin::registerWith(registrar, *phone);
  }
  other = Messenger();
  queue.drain();
  EXPECT_TRUE(notebook.lines.empty());
}

TEST_F(Lifetime, KeepsTwoRegistrationsApart) {
  Messenger otherMessenger;
  Registrar registrar(otherMessenger);
  NimbrelPlugin::registerWith(registrar, *phone);
  std::vector<EncodableValue> otherEvents;
  Application other(otherMessenger, [](const auto& /*reply*/) {});
  other.listen([&](const EncodableValue& event) { otherEvents.push_back(event); });
  startDetection({filter()});  // silences the discoveries of the first plug-in alone
  discover();
  queue.drain();
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(otherEvents.size(), 1U);
}

TEST_F(Lifetime, LetsAListenerStopListeningWhileItTakesAnEvent) {
  int taken = 0;
  application->listen([&](const EncodableValue& /*event*/) {
    ++taken;
    application->cancel();
  });
  discover();
  discover(-70.0);
  queue.drain();
  EXPECT_EQ(taken, 1);
}

}  // namespace
}  // namespace nimbrel::testing_support
