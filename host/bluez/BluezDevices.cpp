#include "host/bluez/BluezDevices.hpp"

#include <algorithm>
#include <charconv>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/air/AdvertisingData.hpp"

namespace nimbrel {
namespace {

constexpr std::int8_t kUnknownRssi = 127;
constexpr MainQueue::Time kKeptFor = std::chrono::minutes(10);

/// Returns the bytes of "C4:1D:83:5A:07:E2"; 0 for each that is not two hexadecimal digits.
std::array<std::uint8_t, 6> addressOf(const std::string& text) {
  std::array<std::uint8_t, 6> bytes{};
  for (std::size_t i = 0; i < bytes.size() && i * 3 + 2 <= text.size(); ++i) {
    const char* const digits = text.data() + i * 3;
    std::from_chars(digits, digits + 2, bytes[i], 16);
  }
  return bytes;
}

/// Returns nothing if the value has another type than the interface says.
template <typename Value>
std::optional<Value> as(const sdbus::Variant& variant) {
  if (!variant.containsValueOfType<Value>()) {
    return std::nullopt;
  }
  return variant.get<Value>();
}

bool isBeaconFrame(const std::vector<std::uint8_t>& data) {
  return frames::iBeacon(data) || frames::altBeacon(data);
}

}  // namespace

void BluezDevices::know(const std::string& path, const Properties& properties,
                        MainQueue::Time now) {
  if (!knows(path)) {
    update(make(path, now), properties);
  }
}

BluezDevices::Device& BluezDevices::make(const std::string& path, MainQueue::Time now) {
  if (devices_.size() >= sweepAt_) {
    std::erase_if(devices_,
                  [now](const auto& entry) { return now - entry.second.lastHeard >= kKeptFor; });
    sweepAt_ = std::max(kFewDevices, devices_.size() * 2);
  }
  Device& device = devices_[path];
  device.lastHeard = now;
  return device;
}

std::optional<Advertisement> BluezDevices::take(const std::string& path,
                                                const Properties& properties, MainQueue::Time now) {
  const bool isIntroduced = properties.contains("Address");
  if (!isIntroduced && !knows(path)) {
    return std::nullopt;  // Its address is not known.
  }
  Device& device = make(path, now);
  update(device, properties);
  if (!properties.contains("RSSI") && (isIntroduced || !properties.contains("ManufacturerData"))) {
    return std::nullopt;
  }
  encode(device);
  // Several beacon frames take turns at the front, so that each one is seen.
  if (device.beaconFrames > 1) {
    const auto first = device.manufacturerData.begin();
    std::rotate(first, first + 1, first + device.beaconFrames);
  }
  return Advertisement{.time = {},
                       .address = device.address,
                       .rssi = device.rssi,
                       .isScanResponse = false,
                       .data = data_};
}

void BluezDevices::withdraw(const std::string& path, const std::vector<std::string>& names) {
  const auto found = devices_.find(path);
  if (found == devices_.end()) {
    return;
  }
  for (const auto& name : names) {
    if (name == "RSSI") {
      found->second.rssi = kUnknownRssi;
    }
    if (name == "ManufacturerData") {
      found->second.manufacturerData.clear();
    }
  }
}

void BluezDevices::update(Device& device, const Properties& properties) {
  for (const auto& [name, value] : properties) {
    if (const auto text = as<std::string>(value)) {
      if (name == "Address") {
        device.address.bytes = addressOf(*text);
      }
      if (name == "AddressType") {
        device.address.type =
            *text == "public" ? AddressType::publicAddress : AddressType::randomAddress;
      }
      if (name == "Name") {
        device.name.assign(text->begin(), text->end());
      }
    } else if (const auto rssi = as<std::int16_t>(value); rssi && name == "RSSI") {
      device.rssi = static_cast<std::int8_t>(std::clamp<int>(*rssi, -127, kUnknownRssi));
    } else if (const auto companies = as<Companies>(value);
               companies && name == "ManufacturerData") {
      takeManufacturerData(device, *companies);
    }
  }
}

void BluezDevices::takeManufacturerData(Device& device, const Companies& companies) {
  device.manufacturerData.clear();
  for (const auto& [company, payload] : companies) {
    if (const auto rest = as<Bytes>(payload)) {
      auto& bytes = device.manufacturerData.emplace_back(
          Bytes{static_cast<std::uint8_t>(company), static_cast<std::uint8_t>(company >> 8U)});
      bytes.insert(bytes.end(), rest->begin(), rest->end());
    }
  }
  const auto others = std::stable_partition(device.manufacturerData.begin(),
                                            device.manufacturerData.end(), isBeaconFrame);
  device.beaconFrames = others - device.manufacturerData.begin();
}

void BluezDevices::encode(const Device& device) {
  data_.clear();
  for (const auto& bytes : device.manufacturerData) {
    AdvertisingData::append(data_, AdvertisingData::manufacturerSpecific, bytes);
  }
  if (!device.name.empty()) {
    AdvertisingData::append(data_, AdvertisingData::completeName, device.name);
  }
}

}  // namespace nimbrel
