#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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

/// Writes down what the plug-in says and asks.
class Notebook final : public PhoneObserver {
 public:
  void logged(std::string_view line) override { lines.emplace_back(line); }
  void requested(const Request& request) override {
    requests.push_back(std::string(request.operation) +
                       (request.region.has_value() ? " " + request.region->identifier : ""));
  }

  [[nodiscard]] bool hasLine(std::string_view line) const {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  std::vector<std::string> lines;
  std::vector<std::string> requests;
};

/// A registered plug-in on a phone, and an application that listens to it.
class PluginTest : public ::testing::Test {
 protected:
  static constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";

  PluginTest() { start({}); }

  /// A new phone and a new registration, in place of what was there.
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

  /// Ends the plug-in as the host framework does: by letting go of its channels.
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

  /// A discovery of the one device `Beacon`.
  void discover(double rssi = -60.0) {
    const CBPeripheral peripheral{*parseUuid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"), "Beacon"};
    phone->bluetooth().discover(peripheral, {}, rssi);
  }

  void range(std::int64_t major = 1) {
    CLBeacon beacon;
    beacon.uuid = *parseUuid(kUuid);
    beacon.major = major;
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
