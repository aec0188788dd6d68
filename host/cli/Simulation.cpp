#include "host/cli/Simulation.hpp"

#include <memory>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/cli/JsonText.hpp"
#include "host/engine/Registrar.hpp"

namespace nimbrel {

namespace {

/// Writes down what happens, a line each.
class Transcript final : public PhoneObserver {
 public:
  Transcript(const MainQueue& queue, Output& output) : queue_(queue), output_(output) {}

  void logged(std::string_view line) override {
    begin("log");
    appendJson(output_.buffer(), line);
    end();
  }

  void requested(const Request& request) override {
    begin("request");
    std::string& out = output_.buffer();
    appendJson(out, request.operation);
    if (request.region.has_value()) {
      out.append(R"(,"region":)");
      appendJson(out, std::string_view(request.region->identifier));
      if (request.operation == "startMonitoring") {
        appendMonitoring(*request.region);
      }
    }
    if (request.scan.has_value()) {
      appendScan(*request.scan);
    }
    end();
  }

  void replied(const Application::Reply& reply) {
    begin("reply");
    std::string& out = output_.buffer();
    appendJson(out, std::string_view(reply.method));
    out.append(R"(,"call":)");
    appendJson(out, reply.call);
    if (const auto* value = std::get_if<EncodableValue>(&reply.value)) {
      out.append(R"(,"value":)");
      appendJson(out, *value);
    } else {
      out.append(R"(,"notImplemented":true)");
    }
    end();
  }

  void received(const EncodableValue& event) {
    begin("event");
    appendJson(output_.buffer(), event);
    end();
  }

 private:
  void begin(std::string_view kind) {
    std::string& out = output_.buffer();
    out.append(R"({"at":)");
    appendJson(out, static_cast<double>(queue_.now().count()) / 1e6);
    out.push_back(',');
    appendJson(out, kind);
    out.push_back(':');
  }

  void end() { output_.writeLine("}"); }

  void appendMonitoring(const CLBeaconRegion& region) {
    std::string& out = output_.buffer();
    out.append(R"(,"uuid":)");
    appendJson(out, std::string_view(UuidText(region.uuid)));
    const auto flag = [&out](std::string_view name, bool isSet) {
      out.append(",\"").append(name).append(isSet ? "\":true" : "\":false");
    };
    flag("notifyOnEntry", region.notifyOnEntry);
    flag("notifyOnExit", region.notifyOnExit);
    flag("notifyEntryStateOnDisplay", region.notifyEntryStateOnDisplay);
  }

  void appendScan(const Request::Scan& scan) {
    std::string& out = output_.buffer();
    out.append(R"(,"services":)");
    if (scan.services.has_value()) {
      EncodableList services;
      for (const UUID& service : *scan.services) {
        services.emplace_back(std::string_view(UuidText(service)));
      }
      appendJson(out, EncodableValue(std::move(services)));
    } else {
      out.append("null");
    }
    out.append(R"(,"options":{"CBCentralManagerScanOptionAllowDuplicatesKey":)")
        .append(scan.options.allowDuplicates ? "true}" : "false}");
  }

  const MainQueue& queue_;
  Output& output_;
};

/// The application, the phone and the air, as the steps direct them.
class Stage {
 public:
  Stage(const Scenario& scenario, Output& output, const PluginAttachment& attach)
      : transcript_(queue_, output),
        phone_(scenario.phone, queue_, transcript_),
        application_(messenger_, [this](const auto& reply) { transcript_.replied(reply); }) {
    attach(messenger_, phone_, scenario.isRegistered);
    queue_.drain();
  }

  void play(const std::vector<Step>& steps) {
    for (auto step = steps.begin(); step != steps.end();) {
      const MainQueue::Time at = step->at;
      queue_.runUntil(at);
      for (; step != steps.end() && step->at == at; ++step) {
        std::visit([this](const auto& action) { perform(action); }, step->action);
      }
      // Also what the steps made due at once.
      queue_.runUntil(at);
    }
  }

 private:
  void perform(const actions::Call& call) { application_.call(call.method, call.arguments); }

  void perform(const actions::Listen& listen) {
    if (listen.on) {
      application_.listen([this](const EncodableValue& event) { transcript_.received(event); });
    } else {
      application_.cancel();
    }
  }

  void perform(const actions::ChangeAuthorization& change) {
    phone_.location().changeAuthorization(change.status);
  }

  void perform(const actions::ChangeBluetooth& change) {
    phone_.bluetooth().changeState(change.state);
  }

  void perform(const actions::Discover& discover) {
    CBAdvertisementData data;
    if (const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&discover.manufacturerData)) {
      data.manufacturerData = std::span(*bytes);
    } else if (std::holds_alternative<std::nullptr_t>(discover.manufacturerData)) {
      data.manufacturerData = CBAdvertisementData::NotBytes{};
    }
    phone_.bluetooth().discover(discover.peripheral, data, discover.rssi);
  }

  void perform(const actions::Range& range) {
    phone_.location().reportRanging(range.beacons, phone_.location().regionNamed(range.region));
  }

  void perform(const actions::Cross& cross) {
    const CLBeaconRegion beaconRegion = phone_.location().regionNamed(cross.region);
    const CLRegion otherRegion(cross.region);
    const CLRegion& region = cross.isBeaconRegion ? beaconRegion : otherRegion;
    if (cross.enters) {
      phone_.location().reportEntry(region);
    } else {
      phone_.location().reportExit(region);
    }
  }

  void perform(const actions::FailLocation& fail) { phone_.location().reportFailure(fail.error); }

  void perform(const actions::FailMonitoring& fail) {
    if (!fail.region.has_value()) {
      phone_.location().reportMonitoringFailure(nullptr, fail.error);
      return;
    }
    const CLBeaconRegion region = phone_.location().regionNamed(*fail.region);
    phone_.location().reportMonitoringFailure(&region, fail.error);
  }

  void perform(const actions::FailRanging& fail) {
    phone_.location().reportRangingFailure(phone_.location().regionNamed(fail.region), fail.error);
  }

  void perform(const actions::Advertise& advertise) {
    Sighting sighting;
    sighting.address = advertise.address;
    sighting.name = advertise.name;
    sighting.rssi = advertise.rssi;
    sighting.manufacturerData = advertise.manufacturerData;
    phone_.hear(sighting);
    if (advertise.every.has_value() && queue_.now() + *advertise.every <= advertise.until) {
      queue_.at(queue_.now() + *advertise.every, [this, &advertise] { perform(advertise); });
    }
  }

  void perform(const actions::Wait& /*wait*/) {}

  MainQueue queue_;
  Transcript transcript_;
  Phone phone_;
  Messenger messenger_;
  Application application_;
};

}  // namespace

void attachPlugin(Messenger& messenger, Phone& phone, bool isRegistered) {
  if (isRegistered) {
    Registrar registrar(messenger);
    NimbrelPlugin::registerWith(registrar, phone);
    return;
  }
  const auto plugin = std::make_shared<NimbrelPlugin>(phone);
  messenger.setMethodCallHandler(Application::methodChannel, plugin);
  messenger.setStreamHandler(Application::eventChannel, plugin);
}

void playScenario(const Scenario& scenario, Output& output, const PluginAttachment& attach) {
  Stage(scenario, output, attach).play(scenario.steps);
}

}  // namespace nimbrel
