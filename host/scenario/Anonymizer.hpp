#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/air/AdvertisingData.hpp"

namespace nimbrel {

/// Removes from advertisements what identifies a device, and keeps what detection depends on.
///
/// - Each device gets one random address of the same kind.
/// - Names become "Device 1" and so on. A word that admits a device by its name is kept behind it.
/// - Manufacturer data keeps a beacon frame, or else the company. The rest becomes zeros. If the
///   data of a device changes, the zeros end in a number that changes with it, because a phone
///   reports changed data at once.
/// - All other structures but the flags and the transmit power become zeros.
class Anonymizer {
 public:
  /// The addresses differ from run to run.
  Anonymizer();

  /// The data of the result is valid until the next call.
  Advertisement anonymized(const Advertisement& advertisement);

 private:
  struct Device {
    DeviceAddress address;
    // From manufacturer data to its replacement.
    std::unordered_map<std::string, std::string> payloads;
    // How many replacements differ only in their number.
    std::unordered_map<std::string, std::size_t> shapes;
  };

  Device& deviceOf(const DeviceAddress& address);
  DeviceAddress makeAddress(AddressType type, std::uint8_t first);
  static std::string_view payloadFor(Device& device, std::string_view payload);
  void appendName(AdvertisingData::StructureType type, std::string_view bytes);

  std::mt19937_64 random_;
  std::map<DeviceAddress, Device> devices_;
  std::set<std::array<std::uint8_t, 6>> taken_;
  std::map<std::string, std::string, std::less<>> names_;
  std::vector<std::uint8_t> data_;
};

}  // namespace nimbrel
