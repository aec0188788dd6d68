#include "tests/support/Conversions.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "Classes/model/EncodableAccess.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/air/Capture.hpp"
#include "host/air/Recordings.hpp"
#include "host/base/JsonText.hpp"
#include "host/cli/Replay.hpp"
#include "host/cli/Session.hpp"
#include "host/scenario/AirPart.hpp"
#include "host/scenario/Conversion.hpp"
#include "host/scenario/ScenarioWriter.hpp"
#include "tests/support/Reports.hpp"
#include "tests/support/Transcripts.hpp"

namespace nimbrel::testing_support {

namespace {

using Events = std::vector<Json>;

/// An application that keeps its events.
class Keeper final : public Session {
 public:
  using Session::Session;

  void note(const std::string& /*line*/) override {}
  void clockJumped(std::chrono::microseconds /*before*/,
                   std::chrono::microseconds /*after*/) override {}
  void conclude(std::uint64_t /*damagedPackets*/) override {}
  void logged(std::string_view /*line*/) override {}
  void requested(const Request& /*request*/) override {}

  Events events;

 private:
  void received(const EncodableValue& event) override {
    std::string text;
    appendJson(text, event);
    events.push_back(Json::parse(text));
  }
};

std::unique_ptr<Capture> opened(std::span<const std::uint8_t> recording) {
  return Capture::read(recording, "recording", [](const auto& /*warning*/) {});
}

Events scanned(std::span<const std::uint8_t> recording, const EncodableList& filters,
               std::optional<MainQueue::Time> duration = {}) {
  std::vector<std::unique_ptr<Capture>> captures;
  captures.push_back(opened(recording));
  Recordings recordings(std::move(captures), [](const auto& /*warning*/) {});
  MainQueue queue;
  Output errors(-1);
  Progress progress(errors, false);
  Keeper keeper(filters, {}, queue);
  Replay(duration, recordings, queue, keeper, progress).run();
  return keeper.events;
}

std::string scenarioOf(std::span<const std::uint8_t> recording,
                       const ScenarioWriter::Setup& setup = {},
                       const AirPart::Selection& selection = {}) {
  return written([&](Output& output) {
    ScenarioWriter writer(setup, output);
    AirPart part(selection, writer);
    playRecordedAir(*opened(recording), part);
  });
}

Events simulated(const std::string& scenario) {
  const auto play = [&](Output& output) { playScenario(Scenario::parse(scenario, "s"), output); };
  Events events;
  for (const Json& line : jsonLines(written(play))) {
    if (line.contains("event")) {
      events.push_back(line["event"]);
    }
  }
  return events;
}

/// The recording that `play` makes.
Bytes recorded(const std::function<void(AirListener&)>& play) {
  const TemporaryFile file("");
  BtSnoopWriter writer(file.path(), true);
  RecordingWriter listener(writer);
  play(listener);
  std::ifstream stream(file.path(), std::ios::binary);
  return text(std::string(std::istreambuf_iterator<char>(stream), {}));
}

Events withoutIdentities(Events events) {
  for (Json& event : events) {
    for (const char* key : {"identifier", "name", "mac"}) {
      event.erase(key);
    }
    if (event["majorId"] == -1) {
      event.erase("uuid");
    }
  }
  return events;
}

/// A generic run, and one with a filter for each UUID that it found, up to as many as there may be.
std::vector<EncodableList> filtersFor(const Events& events) {
  constexpr std::size_t kMost = 20;
  std::set<std::string> uuids;
  for (const Json& event : events) {
    if (event["majorId"] != -1 && uuids.size() < kMost) {
      uuids.insert(event["uuid"]);
    }
  }
  EncodableList filters;
  for (const std::string& uuid : uuids) {
    filters.emplace_back(EncodableMap{{"uuid", uuid}});
  }
  return filters.empty() ? std::vector<EncodableList>{{}} : std::vector<EncodableList>{{}, filters};
}

void expectNothingLeft(std::span<const std::uint8_t> recording, const std::string& anonymous) {
  std::set<std::string> secrets;
  const auto capture = opened(recording);
  while (const Advertisement* advertisement = capture->next()) {
    const auto& address = advertisement->address.bytes;
    secrets.emplace(address.begin(), address.end());
    secrets.emplace(address.rbegin(), address.rend());
    const auto data = AdvertisingData::parse(advertisement->data);
    if (data.name.has_value()) {
      secrets.emplace(data.name->begin(), data.name->end());
    }
    if (data.manufacturerData.has_value() && data.manufacturerData->size() > 2 &&
        !frames::iBeacon(*data.manufacturerData) && !frames::altBeacon(*data.manufacturerData)) {
      secrets.emplace(data.manufacturerData->begin(), data.manufacturerData->end());
    }
  }
  for (const std::string& secret : secrets) {
    // Shorter ones are anywhere.
    const bool isZeros = secret.find_first_not_of('\0') == std::string::npos;
    EXPECT_TRUE(secret.size() < 5 || isZeros || anonymous.find(secret) == std::string::npos)
        << toHex(text(secret));
  }
}

}  // namespace

void expectFaithfulConversions(std::span<const std::uint8_t> recording) {
  AirPart::Selection secret;
  secret.isAnonymous = true;
  AirPart::Selection part;
  part.duration = std::chrono::milliseconds(1500);

  const Bytes copy =
      recorded([&](AirListener& listener) { playRecordedAir(*opened(recording), listener); });
  const Bytes back = recorded([&](AirListener& listener) {
    playScenarioAir(Scenario::parse(scenarioOf(recording), "s"), "s", listener);
  });
  const Bytes anonymous = recorded([&](AirListener& listener) {
    AirPart disguised(secret, listener);
    playRecordedAir(*opened(recording), disguised);
  });
  expectNothingLeft(recording, {anonymous.begin(), anonymous.end()});

  for (const EncodableList& filters : filtersFor(scanned(recording, {}))) {
    const Events events = scanned(recording, filters);
    EXPECT_EQ(simulated(scenarioOf(recording, {"", false, filters})), events);
    EXPECT_EQ(simulated(scenarioOf(recording, {"", false, filters}, part)),
              scanned(recording, filters, part.duration));
    EXPECT_EQ(scanned(copy, filters), events);
    EXPECT_EQ(scanned(back, filters), events);
    EXPECT_EQ(withoutIdentities(scanned(anonymous, filters)), withoutIdentities(events));
  }
}

}  // namespace nimbrel::testing_support
