#include "host/air/Devices.hpp"

#include <algorithm>

namespace nimbrel {
namespace {

std::uint64_t keyOf(const DeviceAddress& address) {
  auto key = static_cast<std::uint64_t>(address.type);
  for (const auto byte : address.bytes) key = key << 8U | byte;
  return key;
}

/// The length of the UTF-8 character at the start of `text`, or 0 where there is none.
/// Source: RFC 3629, section 4.
std::size_t characterLength(std::string_view text) {
  const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const auto lead = at(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0U) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what lies beyond U+10FFFF.
  const auto second = at(1);
  if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
      (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
    return 0;
  }
  return length;
}

void appendValid(std::string_view text, std::string& valid) {
  while (!text.empty()) {
    const auto length = characterLength(text);
    valid.append(length > 0 ? text.substr(0, length) : "\uFFFD");
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

}  // namespace

Sighting Devices::sight(const Advertisement& advertisement) {
  const auto data = AdvertisingData::parse(advertisement.data);
  const bool isScanResponse = advertisement.isScanResponse;
  Device& device = devices[keyOf(advertisement.address)];

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
  cleaned.clear();
  appendValid(name, cleaned);
  if (cleaned != device.name) device.name = cleaned;
}

}  // namespace nimbrel
