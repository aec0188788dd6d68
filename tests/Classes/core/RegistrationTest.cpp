#include "tests/support/PluginTest.hpp"

namespace nimbrel::testing_support {
namespace {

class Lifetime : public PluginTest {};

TEST_F(Lifetime, EndsWithTheChannelsAndDoesNotStopTheRun) {
  startDetection({filter()});
  notebook = {};
  letGo();
  EXPECT_TRUE(notebook.requests.empty());
  range();
  phone->bluetooth().changeState(CBManagerState::poweredOn);
  EXPECT_TRUE(notebook.lines.empty());
}

TEST_F(Lifetime, KeepsTwoRegistrationsApart) {
  Messenger otherMessenger;
  Registrar registrar(otherMessenger);
  NimbrelPlugin::registerWith(registrar, *phone);
  std::vector<EncodableValue> otherEvents;
  Application other(otherMessenger, [](const auto& /*reply*/) {});
  other.listen([&](const EncodableValue& event) { otherEvents.push_back(event); });
  startDetection({filter()});  // with filters, the first plug-in ignores discoveries
  discover();
  queue.drain();
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(otherEvents.size(), 1U);
}

class EventStream : public PluginTest {};

TEST_F(EventStream, KeepsTheSinkThatItCallsWhenTheApplicationListensAgain) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> sink = token;
  bool isSinkKept = false;
  int takenByTheNext = 0;
  const auto listenAgain = [&] {
    application->listen([&](const EncodableValue& /*event*/) { ++takenByTheNext; });
    isSinkKept = !sink.expired();
  };
  application->listen(
      [&listenAgain, held = std::move(token)](const EncodableValue& /*event*/) { listenAgain(); });
  discover();
  discover(-70.0);
  queue.drain();
  EXPECT_TRUE(isSinkKept);
  EXPECT_TRUE(sink.expired());
  EXPECT_EQ(takenByTheNext, 1);
}

TEST_F(EventStream, ReplacesItsSinkWithoutACancelInBetween) {
  const auto plugin = std::make_shared<NimbrelPlugin>(*phone);
  const auto central = phone->makeCentralManager(plugin);
  std::string taken;
  EXPECT_FALSE(plugin->onCancel({}).has_value());
  for (const char* const sink : {"first ", "second "}) {
    const auto refusal =
        plugin->onListen({}, [&taken, sink](const auto& /*event*/) { taken += sink; });
    EXPECT_FALSE(refusal.has_value());
  }
  discover();
  queue.drain();
  EXPECT_EQ(taken, "second ");
}

}  // namespace
}  // namespace nimbrel::testing_support
