#include "host/air/Devices.hpp"

#include <algorithm>

#include "Classes/text/Utf8.hpp"

namespace nimbrel {
namespace {

void appendValid(std::string_view text, std::string& valid) {
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    valid.append(character.valid ? text.substr(0, character.size) : "\uFFFD");
    text.remove_prefix(character.size);
  }
}

}  // namespace

Sighting Devices::sight(const Advertisement& advertisement) {
  const auto data = AdvertisingData::parse(advertisement.data);
  const bool isScanResponse = advertisement.isScanResponse;
  Device& device = devices_[advertisement.address];

  takeName(device, data, isScanResponse);
  auto& kept = device.manufacturerData[isScanResponse ? 1 : 0];
  kept.isPresent = data.manufacturerData.has_value();
  if (kept.isPresent && !std::ranges::equal(kept.bytes, *data.manufacturerData)) {
    kept.bytes.assign(data.manufacturerData->begin(), data.manufacturerData->end());
  }

  Sighting sighting;
  sighting.address = advertisement.address;
  sighting.rssi = advertisement.rssi;
  if (!device.name.empty()) sighting.name = device.name;
  const auto* const shown =
      std::ranges::find_if(device.manufacturerData, &ManufacturerData::isPresent);
  if (shown != device.manufacturerData.end()) sighting.manufacturerData = shown->bytes;
  sighting.carriesManufacturerData = kept.isPresent && shown == &kept;
  return sighting;
}

void Devices::takeName(Device& device, const AdvertisingData& data, bool isScanResponse) {
  const bool isSameKind = device.isNameFromScanResponse == isScanResponse;
  if (!data.name) {
    if (isSameKind) device.nameRank = 0;
    return;
  }
  const auto rank =
      static_cast<std::uint8_t>(1 + (data.isNameComplete ? 2 : 0) + (isScanResponse ? 0 : 1));
  if (!isSameKind && rank < device.nameRank) return;
  device.nameRank = rank;
  device.isNameFromScanResponse = isScanResponse;

  const std::string_view bytes(reinterpret_cast<const char*>(data.name->data()), data.name->size());
  // Some devices fill the field up with zeros.
  const auto name = bytes.substr(0, bytes.find('\0'));
  if (name.empty() || name == device.name) return;
  cleaned_.clear();
  appendValid(name, cleaned_);
  if (cleaned_ != device.name) device.name = cleaned_;
}

}  // namespace nimbrel
