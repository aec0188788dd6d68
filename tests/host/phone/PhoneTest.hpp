#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/phone/Phone.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel::testing_support {

inline constexpr bool kScanResponse = true;

using Lines = std::vector<std::string>;

/// An application's managers on a phone, and what they report, in a line each.
class Managers final : public CLLocationManagerDelegate,
                       public CBCentralManagerDelegate,
                       public std::enable_shared_from_this<Managers> {
 public:
  static std::shared_ptr<Managers> on(Phone& phone) {
    auto managers = std::make_shared<Managers>();
    managers->location = phone.makeLocationManager();
    managers->location->setDelegate(managers);
    managers->central = phone.makeCentralManager(managers);
    return managers;
  }

  std::unique_ptr<CLLocationManager> location;
  std::unique_ptr<CBCentralManager> central;
  Lines told;

  void locationManagerDidChangeAuthorization(CLLocationManager& /*manager*/,
                                             CLAuthorizationStatus status) override {
    told.push_back("authorization " + std::to_string(static_cast<int>(status)));
  }
  void locationManagerDidEnterRegion(CLLocationManager& /*manager*/,
                                     const CLRegion& region) override {
    told.push_back("enter " + region.identifier);
  }
  void locationManagerDidExitRegion(CLLocationManager& /*manager*/,
                                    const CLRegion& region) override {
    told.push_back("exit " + region.identifier);
  }
  /// "range REGION", then "; MAJOR/MINOR RSSI CENTIMETRES PROXIMITY" for each beacon.
  void locationManagerDidRangeBeacons(CLLocationManager& /*manager*/,
                                      const std::vector<CLBeacon>& beacons,
                                      const CLBeaconRegion& region) override {
    std::string line = "range " + region.identifier;
    for (const CLBeacon& beacon : beacons) {
      line += "; " + std::to_string(beacon.major) + "/" + std::to_string(beacon.minor) + " " +
              std::to_string(beacon.rssi) + " " +
              std::to_string(std::lround(beacon.accuracy * 100)) + " " +
              std::to_string(static_cast<int>(beacon.proximity));
    }
    told.push_back(line);
  }
  void locationManagerDidFailWithError(CLLocationManager& /*manager*/,
                                       const NSError& error) override {
    told.push_back("failed: " + error.localizedDescription);
  }
  void locationManagerMonitoringDidFailFor(CLLocationManager& /*manager*/, const CLRegion* region,
                                           const NSError& /*error*/) override {
    told.push_back("monitoring failed " + (region == nullptr ? "" : region->identifier));
  }
  void locationManagerRangingBeaconsDidFailFor(CLLocationManager& /*manager*/,
                                               const CLBeaconRegion& region,
                                               const NSError& /*error*/) override {
    told.push_back("ranging failed " + region.identifier);
  }
  void centralManagerDidUpdateState(CBCentralManager& manager) override {
    told.push_back("state " + std::to_string(static_cast<int>(manager.state())));
  }
  /// "found NAME DATA", with "-" for what is absent.
  void centralManagerDidDiscover(CBCentralManager& /*manager*/, const CBPeripheral& peripheral,
                                 const CBAdvertisementData& data, double /*rssi*/) override {
    const auto* bytes = std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData);
    told.push_back("found " + peripheral.name.value_or("-") + " " +
                   (bytes == nullptr ? "-" : toHex(*bytes)));
  }
};

/// A phone with one application on it.
class PhoneTest : public testing::Test, public PhoneObserver {
 protected:
  PhoneTest() { start({}); }

  /// A new phone in place of the one before.
  void start(const Phone::Setup& setup) {
    managers.reset();
    phone.emplace(setup, queue, *this);
    managers = Managers::on(*phone);
    queue.drain();
    managers->told.clear();
  }

  void pass(MainQueue::Time time) { queue.runUntil(queue.now() + time); }

  /// A report with these advertising data structures.
  void hear(const Bytes& data, std::int8_t rssi = -60, bool isScanResponse = false,
            const DeviceAddress& address = {}) {
    phone->hear({.time = {},
                 .address = address,
                 .rssi = rssi,
                 .isScanResponse = isScanResponse,
                 .data = data});
  }

  /// What the managers reported since the last call.
  Lines told() { return std::exchange(managers->told, {}); }

  void logged(std::string_view /*line*/) override {}
  void requested(const Request& /*request*/) override {}

  MainQueue queue;
  std::optional<Phone> phone;
  std::shared_ptr<Managers> managers;
};

inline Bytes shortened(std::string_view name) { return withLength(hex("08") + text(name)); }

/// An iBeacon's manufacturer data.
inline Bytes beaconFrame(std::uint16_t major = 1, std::uint16_t minor = 2,
                         std::int8_t power = -59) {
  return hex("4C000215 E2C56DB5DFFB48D2B060D0F5A71096E0") + big(2, major) + big(2, minor) +
         little(1, static_cast<std::uint8_t>(power));
}

}  // namespace nimbrel::testing_support
