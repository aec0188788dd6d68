#include "Classes/bluetooth/AdvertisementDecoding.hpp"

#include <algorithm>
#include <array>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/text/Decimal.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace frames {

namespace {

std::optional<BeaconFrame> frameMarked(std::span<const std::uint8_t> data,
                                       std::uint16_t companyIdentifier, std::uint8_t first,
                                       std::uint8_t second) {
  if (data.size() < size || company(data) != companyIdentifier || data[2] != first ||
      data[3] != second) {
    return std::nullopt;
  }
  const auto bigEndian = [data](std::size_t offset) {
    return static_cast<std::uint16_t>(data[offset] << 8U | data[offset + 1]);
  };
  BeaconFrame frame;
  std::copy_n(data.begin() + 4, frame.uuid.bytes.size(), frame.uuid.bytes.begin());
  frame.major = bigEndian(20);
  frame.minor = bigEndian(22);
  frame.measuredPower = static_cast<std::int8_t>(data[24]);
  return frame;
}

}  // namespace

std::uint16_t company(std::span<const std::uint8_t> data) {
  return static_cast<std::uint16_t>(data[0] | data[1] << 8U);
}

std::optional<BeaconFrame> iBeacon(std::span<const std::uint8_t> data) {
  return frameMarked(data, appleCompany, 0x02, 0x15);
}

std::optional<BeaconFrame> altBeacon(std::span<const std::uint8_t> data) {
  return frameMarked(data, altBeaconCompany, 0xBE, 0xAC);
}

}  // namespace frames

std::optional<std::string> NimbrelPlugin::searchMACPatternInDataSafe(
    std::span<const std::uint8_t> data) {
  constexpr std::size_t macSize = 6;
  if (data.size() < macSize) {
    return std::nullopt;
  }
  std::string mac(macSize * 3 - 1, ':');
  for (std::size_t index = 0; index < macSize; ++index) {
    appendHexByte(mac.data() + index * 3, data[index]);
  }
  log({"       - MAC candidate found in position 0: ", mac});
  return mac;
}

DecodedAdvertisement NimbrelPlugin::decodeManufacturerData(std::span<const std::uint8_t> data,
                                                           const std::optional<std::string>& name) {
  DecodedAdvertisement decoded;
  if (auto mac = searchMACPatternInDataSafe(data)) {
    decoded.mac = std::move(*mac);
    log({"   ✅ MAC extracted: ", decoded.mac});
  } else {
    log({"   ⚠️  Could not extract MAC from manufacturer data"});
  }

  log({"📊 Complete Manufacturer Data:"});
  log({"   - Device: ", name.has_value() ? std::string_view(*name) : "Unknown"});
  if (data.size() < 2) {
    log({"   ❌ Insufficient data (< 2 bytes)"});
    return decoded;
  }
  const std::uint16_t company = frames::company(data);
  std::array<char, 4> companyText;
  appendHexByte(appendHexByte(companyText.data(), static_cast<std::uint8_t>(company >> 8U)),
                static_cast<std::uint8_t>(company & 0xFFU));
  log({"   - Company ID: 0x", {companyText.data(), companyText.size()}});

  if (company == frames::appleCompany && data.size() >= frames::size) {
    log({"   🍎 Trying to parse as Apple iBeacon"});
    decoded.frame = frames::iBeacon(data);
    if (decoded.frame.has_value()) {
      log({"   ✅ is a valid iBeacon"});
      log({"   - UUID: ", UuidText(decoded.frame->uuid)});
      log({"   - Major: ", Decimal(decoded.frame->major)});
      log({"   - Minor: ", Decimal(decoded.frame->minor)});
      // The power is a whole number of dBm, shown as the floating-point number that it becomes.
      log({"   - TX Power: ", Decimal(decoded.frame->measuredPower), ".0"});
      return decoded;
    }
  } else if (company == frames::altBeaconCompany && data.size() >= frames::size) {
    log({"   🔵 Trying to parse as AltBeacon"});
    decoded.frame = frames::altBeacon(data);
    if (decoded.frame.has_value()) {
      log({"   ✅ It is a valid AltBeacon"});
      return decoded;
    }
  }
  log({"   ❌ No known format could be parsed"});
  return decoded;
}

}  // namespace nimbrel
