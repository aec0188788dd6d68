#include "host/scenario/Stage.hpp"

#include <cmath>
#include <memory>
#include <span>
#include <variant>

#include "Classes/NimbrelPlugin.hpp"
#include "host/engine/Registrar.hpp"

namespace nimbrel {

Stage::Stage(const PhoneLine& line, MainQueue& queue, StageObserver& observer,
             const PluginAttachment& attach)
    : queue_(queue),
      observer_(observer),
      phone_(line.phone, queue, observer),
      application_(messenger_, [this](const auto& reply) { observer_.replied(reply); }),
      transmitter_(queue, [this](const actions::Advertise& advertise) { hear(advertise); }) {
  // Whole microseconds, as all times are, so that the clock is the same whether it was set here or
  // by a step. Beyond 64 bits of them it stays what it is.
  constexpr double kFarthest = 9e12;
  if (std::abs(line.phone.clock) <= kFarthest) {
    phone_.setClock(MainQueue::Time(std::llround(line.phone.clock * 1e6)));
  }
  attach(messenger_, phone_, line.isRegistered);
  queue_.drain();
}

void Stage::perform(const Step::Action& action) {
  std::visit([this](const auto& each) { perform(each); }, action);
}

void Stage::hear(const Advertisement& advertisement) { phone_.hear(advertisement); }

void Stage::perform(const actions::Call& call) { application_.call(call.method, call.arguments); }

void Stage::perform(const actions::Listen& listen) {
  if (listen.on) {
    application_.listen([this](const EncodableValue& event) { observer_.received(event); });
  } else {
    application_.cancel();
  }
}

void Stage::perform(const actions::ChangeAuthorization& change) {
  phone_.location().changeAuthorization(change.status);
}

void Stage::perform(const actions::ChangeBluetooth& change) {
  phone_.bluetooth().changeState(change.state);
}

void Stage::perform(const actions::SetClock& set) { phone_.setClock(set.clock); }

void Stage::perform(const actions::Discover& discover) {
  CBAdvertisementData data;
  if (const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&discover.manufacturerData)) {
    data.manufacturerData = std::span(*bytes);
  } else if (std::holds_alternative<std::nullptr_t>(discover.manufacturerData)) {
    data.manufacturerData = CBAdvertisementData::NotBytes{};
  }
  phone_.bluetooth().discover(discover.peripheral, data, discover.rssi);
}

void Stage::perform(const actions::Range& range) {
  phone_.location().reportRanging(range.beacons, phone_.location().regionNamed(range.region));
}

void Stage::perform(const actions::Cross& cross) {
  const CLBeaconRegion beaconRegion = phone_.location().regionNamed(cross.region);
  const CLRegion otherRegion(cross.region);
  const CLRegion& region = cross.isBeaconRegion ? beaconRegion : otherRegion;
  if (cross.enters) {
    phone_.location().reportEntry(region);
  } else {
    phone_.location().reportExit(region);
  }
}

void Stage::perform(const actions::FailLocation& fail) {
  phone_.location().reportFailure(fail.error);
}

void Stage::perform(const actions::FailMonitoring& fail) {
  if (!fail.region.has_value()) {
    phone_.location().reportMonitoringFailure(nullptr, fail.error);
    return;
  }
  const CLBeaconRegion region = phone_.location().regionNamed(*fail.region);
  phone_.location().reportMonitoringFailure(&region, fail.error);
}

void Stage::perform(const actions::FailRanging& fail) {
  phone_.location().reportRangingFailure(phone_.location().regionNamed(fail.region), fail.error);
}

void Stage::perform(const actions::Advertise& advertise) { transmitter_.start(advertise); }

void Stage::perform(const actions::Wait& /*wait*/) {}

void Stage::hear(const actions::Advertise& advertise) {
  observer_.hearing(advertise);
  pass(advertise);
  observer_.hasHeard();
}

void Stage::pass(const actions::Advertise& advertise) {
  if (const auto* data = std::get_if<actions::Advertise::Data>(&advertise.payload)) {
    Advertisement advertisement;
    advertisement.address = advertise.address;
    advertisement.isScanResponse = data->isScanResponse;
    advertisement.data = data->bytes;
    phone_.hear(advertisement, advertise.rssi);
    return;
  }
  const auto& parts = std::get<actions::Advertise::Parts>(advertise.payload);
  Sighting sighting;
  sighting.address = advertise.address;
  sighting.name = parts.name;
  sighting.manufacturerData = parts.manufacturerData;
  sighting.rssi = advertise.rssi;
  phone_.hear(sighting);
}

void attachPlugin(Messenger& messenger, Phone& phone, bool isRegistered) {
  if (isRegistered) {
    Registrar registrar(messenger);
    NimbrelPlugin::registerWith(registrar, phone);
    return;
  }
  const auto plugin = std::make_shared<NimbrelPlugin>(phone);
  messenger.setMethodCallHandler(Application::kMethodChannel, plugin);
  messenger.setStreamHandler(Application::kEventChannel, plugin);
}

}  // namespace nimbrel
