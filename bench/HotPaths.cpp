#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/bluetooth/BeaconFrame.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/engine/Registrar.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel {
namespace {

constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";

/// Flags and an iBeacon, as they go over the air.
constexpr std::array<std::uint8_t, 30> kAdvertisingData = {
    0x02, 0x01, 0x06, 0x1A, 0xFF, 0x4C, 0x00, 0x02, 0x15, 0xE2, 0xC5, 0x6D, 0xB5, 0xDF, 0xFB,
    0x48, 0xD2, 0xB0, 0x60, 0xD0, 0xF5, 0xA7, 0x10, 0x96, 0xE0, 0x00, 0x01, 0x00, 0x02, 0xC5};

void decodeAdvertisement(benchmark::State& state) {
  for ([[maybe_unused]] const auto& each : state) {
    const AdvertisingData data = AdvertisingData::parse(kAdvertisingData);
    benchmark::DoNotOptimize(frames::iBeacon(*data.manufacturerData));
  }
}
BENCHMARK(decodeAdvertisement);

/// A registered plug-in with an application that counts what it receives.
class Desk final : public PhoneObserver {
 public:
  explicit Desk(EncodableList filters) {
    Registrar registrar(messenger);
    NimbrelPlugin::registerWith(registrar, phone);
    application.listen([this](const EncodableValue& /*event*/) { ++events; });
    EncodableMap arguments;
    arguments.emplace_back("filters", std::move(filters));
    application.call("startDetection", std::move(arguments));
    queue.drain();
  }

  void logged(std::string_view line) override { benchmark::DoNotOptimize(line.data()); }
  void requested(const Request& /*request*/) override {}

  MainQueue queue;
  Phone phone{{}, queue, *this};
  Messenger messenger;
  Application application{messenger, [](const auto& /*reply*/) {}};
  std::int64_t events = 0;
};

void deliverDiscovery(benchmark::State& state) {
  Desk desk({});
  const CBPeripheral peripheral{*parseUuid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"), "Beacon X"};
  CBAdvertisementData data;
  data.manufacturerData = std::span(kAdvertisingData).subspan(5);
  double rssi = -60.0;
  for ([[maybe_unused]] const auto& each : state) {
    rssi = -130.0 - rssi;  // -60 and -70 in turn, so that no discovery is thinned out
    desk.phone.bluetooth().discover(peripheral, data, rssi);
    desk.queue.drain();
  }
  if (desk.events != state.iterations()) {
    state.SkipWithError("a discovery gave no event");
  }
}
BENCHMARK(deliverDiscovery);

/// One beacon, which only the last filter accepts.
void deliverRangingReport(benchmark::State& state) {
  EncodableList filters;
  for (std::int64_t index = state.range(0) - 1; index >= 0; --index) {
    EncodableMap filter;
    filter.emplace_back("uuid", kUuid);
    filter.emplace_back("majorId", index);
    filters.emplace_back(std::move(filter));
  }
  Desk desk(std::move(filters));
  CLBeacon beacon;
  beacon.uuid = *parseUuid(kUuid);
  const CLBeaconRegion region(beacon.uuid, "beacon_E2C56DB5_multiple");
  for ([[maybe_unused]] const auto& each : state) {
    desk.phone.location().reportRanging({beacon}, region);
    desk.queue.drain();
  }
  if (desk.events != state.iterations()) {
    state.SkipWithError("a ranged beacon gave no event");
  }
}
BENCHMARK(deliverRangingReport)->Arg(1)->Arg(10)->Arg(100);

}  // namespace
}  // namespace nimbrel
