#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/engine/Registrar.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel::testing_support {

/// Records the diagnostic lines and the requests of the plug-in.
class Notebook final : public PhoneObserver {
 public:
  void logged(std::string_view line) override { lines.emplace_back(line); }
  void requested(const Request& request) override {
    requests.push_back(std::string(request.operation) +
                       (request.region.has_value() ? " " + request.region->identifier : ""));
    if (onRequest) {
      onRequest(request.operation);
    }
  }

  std::vector<std::string> lines;
  std::vector<std::string> requests;
  std::function<void(std::string_view operation)> onRequest;
};

/// A registered plug-in on a phone, and an application that listens to its events.
class PluginTest : public ::testing::Test {
 protected:
  static constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";

  PluginTest() { start({}); }

  /// Starts over with a new phone and a new registration.
  void start(const Phone::Setup& setup) {
    messenger = std::make_unique<Messenger>();
    phone = std::make_unique<Phone>(setup, queue, notebook);
    application = std::make_unique<Application>(
        *messenger, [this](const auto& reply) { replies[reply.call] = reply.value; });
    Registrar registrar(*messenger);
    NimbrelPlugin::registerWith(registrar, *phone);
    application->listen([this](EncodableValue event) {
      events.push_back(std::get<EncodableMap>(std::move(event)));
    });
    queue.drain();
    notebook = {};
  }

  /// Destroys the plug-in as the host framework does, by releasing its channels.
  void letGo() { messenger = std::make_unique<Messenger>(); }

  void startDetection(EncodableList filters = {}) {
    EncodableMap arguments;
    arguments.emplace_back("filters", std::move(filters));
    application->call("startDetection", std::move(arguments));
  }

  static EncodableMap filter(const char* uuid = kUuid) {
    EncodableMap map;
    map.emplace_back("uuid", uuid);
    return map;
  }

  /// Reports a discovery of a device named `Beacon`.
  void discover(double rssi = -60.0) {
    const CBPeripheral peripheral{*parseUuid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"), "Beacon"};
    phone->bluetooth().discover(peripheral, {}, rssi);
  }

  /// Reports a ranged beacon.
  void range() {
    CLBeacon beacon;
    beacon.uuid = *parseUuid(kUuid);
    phone->location().reportRanging({beacon}, {beacon.uuid, "somewhere"});
  }

  /// The reply to a call, as a boolean.
  bool repliedTrue(std::int64_t call) {
    return std::get<bool>(std::get<EncodableValue>(replies.at(call)));
  }

  std::vector<EncodableMap> events;
  std::map<std::int64_t, FlutterReply> replies;
  Notebook notebook;
  MainQueue queue;
  std::unique_ptr<Phone> phone;  // outlives the messenger and with it the plug-in
  std::unique_ptr<Messenger> messenger;
  std::unique_ptr<Application> application;
};

}  // namespace nimbrel::testing_support
