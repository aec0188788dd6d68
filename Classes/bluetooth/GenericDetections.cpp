#include <cmath>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/bluetooth/Admission.hpp"
#include "Classes/bluetooth/DistanceEstimate.hpp"
#include "Classes/model/DetectionEvent.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

const std::span<const std::uint8_t>* manufacturerBytes(const CBAdvertisementData& data) {
  return std::get_if<std::span<const std::uint8_t>>(&data.manufacturerData);
}

}  // namespace

void NimbrelPlugin::centralManagerDidDiscover(CBCentralManager& /*central*/,
                                              const CBPeripheral& peripheral,
                                              const CBAdvertisementData& advertisementData,
                                              double rssi) {
  if (!currentBeaconFilters.empty()) {
    return;
  }
  const double now = platform.timeIntervalSince1970();
  const auto [last, isNew] = lastBeaconDetections.tryEmplace(peripheral.identifier);
  if (!isNew && now - last.timestamp < minimumUpdateInterval &&
      std::abs(rssi - last.rssi) < rssiThreshold) {
    return;
  }
  last = {now, rssi};
  if (isAdmitted(peripheral, advertisementData)) {
    sendGenericBeaconData(peripheral, advertisementData, rssi);
  }
}

void NimbrelPlugin::sendGenericBeaconData(const CBPeripheral& peripheral,
                                          const CBAdvertisementData& advertisementData,
                                          double rssi) {
  const UuidText identifier(peripheral.identifier);
  DetectionEvent event;
  event.ts = currentTimestamp();
  DecodedAdvertisement decoded;
  if (const auto* bytes = manufacturerBytes(advertisementData)) {
    decoded = decodeManufacturerData(*bytes, peripheral.name);
  }
  if (decoded.frame.has_value()) {
    event.uuid = PlainText(UuidText(decoded.frame->uuid));
    event.majorId = decoded.frame->major;
    event.minorId = decoded.frame->minor;
    event.txPower = decoded.frame->measuredPower;
  } else {
    event.uuid = PlainText(identifier);
    log("Using iOS peripheral UUID: ", identifier);
  }
  event.identifier = PlainText(identifier);
  event.name = peripheral.name.value_or("");
  event.mac = decoded.mac;
  event.rssi = rssi;
  event.distance = estimateDistance(rssi, event.txPower);
  event.proximity = proximityWord(event.distance);
  postDetectionEvent(std::move(event).toMap());
}

}  // namespace nimbrel
