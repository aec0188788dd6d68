#include <array>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

std::optional<PlainText> NimbrelPlugin::searchMACPatternInDataSafe(
    std::span<const std::uint8_t> data) {
  constexpr std::size_t kMacSize = 6;
  if (data.size() < kMacSize) {
    return std::nullopt;
  }
  std::array<char, kMacSize * 3 - 1> characters;
  characters.fill(':');
  for (std::size_t index = 0; index < kMacSize; ++index) {
    appendHexByte(characters.data() + index * 3, data[index]);
  }
  const PlainText mac(std::string_view(characters.data(), characters.size()));
  log("       - MAC candidate found in position 0: ", mac);
  return mac;
}

NimbrelPlugin::DecodedAdvertisement NimbrelPlugin::decodeManufacturerData(
    std::span<const std::uint8_t> data, const std::optional<std::string>& name) {
  DecodedAdvertisement decoded;
  if (auto mac = searchMACPatternInDataSafe(data)) {
    decoded.mac = *mac;
    log("   ✅ MAC extracted: ", decoded.mac);
  } else {
    log("   ⚠️  Could not extract MAC from manufacturer data");
  }

  log("📊 Complete Manufacturer Data:");
  log("   - Device: ", name.has_value() ? std::string_view(*name) : "Unknown");
  if (data.size() < 2) {
    log("   ❌ Insufficient data (< 2 bytes)");
    return decoded;
  }
  const std::uint16_t company = frames::company(data);
  std::array<char, 4> companyText;
  appendHexByte(appendHexByte(companyText.data(), static_cast<std::uint8_t>(company >> 8U)),
                static_cast<std::uint8_t>(company & 0xFFU));
  log("   - Company ID: 0x", std::string_view(companyText.data(), companyText.size()));

  if (company == frames::kAppleCompany && data.size() >= frames::kSize) {
    log("   🍎 Trying to parse as Apple iBeacon");
    decoded.frame = frames::iBeacon(data);
    if (decoded.frame.has_value()) {
      log("   ✅ is a valid iBeacon");
      log("   - UUID: ", decoded.frame->uuid);
      log("   - Major: ", decoded.frame->major);
      log("   - Minor: ", decoded.frame->minor);
      // The power is a whole number of dBm, shown as the floating-point number that it becomes.
      log("   - TX Power: ", decoded.frame->measuredPower, ".0");
      return decoded;
    }
  } else if (company == frames::kAltBeaconCompany && data.size() >= frames::kSize) {
    log("   🔵 Trying to parse as AltBeacon");
    decoded.frame = frames::altBeacon(data);
    if (decoded.frame.has_value()) {
      log("   ✅ It is a valid AltBeacon");
      return decoded;
    }
  }
  log("   ❌ No known format could be parsed");
  return decoded;
}

}  // namespace nimbrel
