#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/bluetooth/DistanceEstimate.hpp"
#include "Classes/model/DetectionEvent.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

/// The words that admit a device by its name, in lower case.
constexpr std::array<std::string_view, 4> kNameWords = {"beacon", "estimote", "kontakt", "gimbal"};

/// Whether `name` holds one of the words in any mix of case. They are ASCII, so lower-casing the
/// ASCII letters finds all of them.
bool namesABeacon(std::string_view name) {
  const auto equals = [](char letter, char wanted) {
    return (letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter) ==
           wanted;
  };
  return std::any_of(kNameWords.begin(), kNameWords.end(), [&](std::string_view word) {
    return std::search(name.begin(), name.end(), word.begin(), word.end(), equals) != name.end();
  });
}

const std::span<const std::uint8_t>* manufacturerBytes(const CBAdvertisementData& data) {
  return std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData);
}

bool isAdmitted(const CBPeripheral& peripheral, const CBAdvertisementData& data) {
  if (peripheral.name.has_value() && !peripheral.name->empty()) {
    return !std::holds_alternative<std::monostate>(data.manufacturerData) ||
           namesABeacon(*peripheral.name);
  }
  const auto* bytes = manufacturerBytes(data);
  return bytes != nullptr && !bytes->empty();
}

}  // namespace

void NimbrelPlugin::centralManagerDidDiscover(CBCentralManager& /*central*/,
                                              const CBPeripheral& peripheral,
                                              const CBAdvertisementData& advertisementData,
                                              double rssi) {
  if (!currentBeaconFilters.empty()) {
    return;
  }
  const UuidText key(peripheral.identifier);
  const double now = platform.timeIntervalSince1970();
  const auto last = lastBeaconDetections.find(std::string_view(key));
  if (last == lastBeaconDetections.end()) {
    lastBeaconDetections.emplace(std::string_view(key), Detection{now, rssi});
  } else if (now - last->second.timestamp < minimumUpdateInterval &&
             std::abs(rssi - last->second.rssi) < rssiThreshold) {
    return;
  } else {
    last->second = {now, rssi};
  }
  if (isAdmitted(peripheral, advertisementData)) {
    sendGenericBeaconData(peripheral, advertisementData, rssi);
  }
}

void NimbrelPlugin::sendGenericBeaconData(const CBPeripheral& peripheral,
                                          const CBAdvertisementData& advertisementData,
                                          double rssi) {
  DetectionEvent event;
  event.ts = currentTimestamp();
  const UuidText identifier(peripheral.identifier);
  DecodedAdvertisement decoded;
  if (const auto* bytes = manufacturerBytes(advertisementData)) {
    decoded = decodeManufacturerData(*bytes, peripheral.name);
  }
  if (decoded.frame.has_value()) {
    event.uuid = UuidText(decoded.frame->uuid);
    event.majorId = decoded.frame->major;
    event.minorId = decoded.frame->minor;
    event.txPower = decoded.frame->measuredPower;
  } else {
    event.uuid = identifier;
    log({"Using iOS peripheral UUID: ", identifier});
  }
  event.identifier = identifier;
  event.name = peripheral.name.value_or("");
  event.mac = std::move(decoded.mac);
  event.rssi = rssi;
  event.distance = estimateDistance(rssi, event.txPower);
  event.proximity = proximityWord(event.distance);
  postDetectionEvent(std::move(event).toMap());
}

}  // namespace nimbrel
