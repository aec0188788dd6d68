#include "host/phone/Devices.hpp"

#include <algorithm>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "Classes/text/Utf8.hpp"
#include "host/base/Bytes.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

using Bytes = Device::Bytes;

void appendValid(std::string_view text, std::string& valid) {
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    valid.append(character.valid ? text.substr(0, character.size) : "\uFFFD");
    text.remove_prefix(character.size);
  }
}

bool isForgotten(const Device& device, MainQueue::Time now) {
  return now - device.lastHeard >= rules::kDeviceForgottenAfter;
}

}  // namespace

Device& Devices::hear(const DeviceAddress& address, const AdvertisingData& data,
                      bool isScanResponse, MainQueue::Time now) {
  Device& device = deviceOf(address, now);
  takeName(device, data, isScanResponse);
  set(device, isScanResponse ? Device::Part::responded : Device::Part::advertised,
      data.manufacturerData);
  return device;
}

Device& Devices::hear(const DeviceAddress& address, std::optional<std::string_view> name,
                      std::optional<Bytes> manufacturerData, MainQueue::Time now) {
  Device& device = deviceOf(address, now);
  device.nameRank = 0;
  device.isNameFromScanResponse = false;
  set(device, Device::Part::name, name.has_value() ? std::optional(bytesOf(*name)) : std::nullopt);
  set(device, Device::Part::responded, std::nullopt);
  set(device, Device::Part::advertised, manufacturerData);
  return device;
}

std::optional<Bytes> Devices::visibleManufacturerData(const Device& device) const {
  const auto seen = [this, &device](Device::Part part) {
    const std::optional<Bytes> bytes = device.part(part);
    const bool isWithheld =
        visibility_.withholdsBeacons && bytes.has_value() && frames::iBeacon(*bytes).has_value();
    return isWithheld ? std::nullopt : bytes;
  };
  const std::optional<Bytes> advertised = seen(Device::Part::advertised);
  if (!visibility_.joinsScanResponse && device.part(Device::Part::advertised).has_value()) {
    return advertised;
  }
  const std::optional<Bytes> responded = seen(Device::Part::responded);
  if (advertised.has_value() && responded.has_value()) {
    // The two stand one behind the other.
    return Bytes(advertised->data(), advertised->size() + responded->size());
  }
  return advertised.has_value() ? advertised : responded;
}

Device& Devices::deviceOf(const DeviceAddress& address, MainQueue::Time now) {
  if (remembered() >= sweepAt_) {
    sweep(now);
  }
  const std::uint64_t key = keyOf(address);
  const auto [number, isNew] = numbers_.tryEmplace(key);
  if (isNew) {
    number = freeDevice();
    everHeard_.tryEmplace(key);
  }
  Device& heard = device(number);
  if (!isNew && isForgotten(heard, now)) {
    heard = Device();
  }
  heard.lastHeard = now;
  return heard;
}

std::uint32_t Devices::freeDevice() {
  if (!free_.empty()) {
    const std::uint32_t number = free_.back();
    free_.pop_back();
    return number;
  }
  if (made_ % kBlock == 0) {
    blocks_.push_back(std::make_unique<Device[]>(kBlock));
  }
  return made_++;
}

void Devices::sweep(MainQueue::Time now) {
  numbers_.eraseIf([&](std::uint32_t number) {
    const bool isUnused = isForgotten(device(number), now);
    if (isUnused) {
      device(number) = Device();
      free_.push_back(number);
    }
    return isUnused;
  });
  sweepAt_ = std::max(kBlock, remembered() * 2);
}

void Devices::takeName(Device& device, const AdvertisingData& data, bool isScanResponse) {
  const bool isSameKind = device.isNameFromScanResponse == isScanResponse;
  if (!data.name) {
    if (isSameKind) {
      device.nameRank = 0;
    }
    return;
  }
  const auto rank =
      static_cast<std::uint8_t>(1 + (data.isNameComplete ? 2 : 0) + (isScanResponse ? 0 : 1));
  if (!isSameKind && rank < device.nameRank) {
    return;
  }
  device.nameRank = rank;
  device.isNameFromScanResponse = isScanResponse;

  const std::string_view bytes = textOf(*data.name);
  // Some devices fill the field up with zeros.
  const auto name = bytes.substr(0, bytes.find('\0'));
  if (name.empty() || name == device.name()) {
    return;
  }
  cleaned_.clear();
  appendValid(name, cleaned_);
  set(device, Device::Part::name, bytesOf(cleaned_));
}

void Devices::set(Device& device, Device::Part part, std::optional<Bytes> bytes) const {
  if (device.isChanged || part == Device::Part::name) {
    device.isChanged |= device.set(part, bytes);
    return;
  }
  if (Device::areEqual(device.part(part), bytes)) {
    return;
  }
  // Scans may not see the part that changes, or see the same bytes in the other one.
  std::vector<std::uint8_t> before;
  const std::optional<Bytes> visible = visibleManufacturerData(device);
  const bool wasVisible = visible.has_value();
  if (wasVisible) {
    before.assign(visible->begin(), visible->end());
  }
  device.set(part, bytes);
  device.isChanged = !Device::areEqual(wasVisible ? std::optional(Bytes(before)) : std::nullopt,
                                       visibleManufacturerData(device));
}

}  // namespace nimbrel
