#include "Classes/bluetooth/BeaconFrame.hpp"

#include <algorithm>
#include <cassert>

namespace nimbrel::frames {

namespace {

std::optional<BeaconFrame> frameMarked(std::span<const std::uint8_t> data,
                                       std::uint16_t companyIdentifier, std::uint8_t first,
                                       std::uint8_t second) {
  if (data.size() < kSize || company(data) != companyIdentifier || data[2] != first ||
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
  assert(data.size() >= 2);
  return static_cast<std::uint16_t>(data[0] | data[1] << 8U);
}

std::optional<BeaconFrame> iBeacon(std::span<const std::uint8_t> data) {
  return frameMarked(data, kAppleCompany, 0x02, 0x15);
}

std::optional<BeaconFrame> altBeacon(std::span<const std::uint8_t> data) {
  return frameMarked(data, kAltBeaconCompany, 0xBE, 0xAC);
}

}  // namespace nimbrel::frames
