#include "host/scenario/Anonymizer.hpp"

#include <algorithm>
#include <span>
#include <utility>

#include "Classes/bluetooth/Admission.hpp"
#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/air/ByteCursor.hpp"
#include "host/base/Bytes.hpp"

namespace nimbrel {

namespace {

/// How many bytes of manufacturer data stay: a beacon's frame, or the company.
std::size_t keptOf(std::span<const std::uint8_t> payload) {
  if (frames::iBeacon(payload).has_value() || frames::altBeacon(payload).has_value()) {
    return frames::kSize;
  }
  constexpr std::size_t kCompanySize = 2;
  return payload.size() < kCompanySize ? 0 : kCompanySize;
}

/// Returns a blank and the word that admits a device of that name; empty if it has none.
std::string wordIn(std::string_view name) {
  const auto equals = [](char letter, char wanted) {
    return (letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter) == wanted;
  };
  for (const std::string_view word : kNameWords) {
    if (std::search(name.begin(), name.end(), word.begin(), word.end(), equals) != name.end()) {
      return std::string(" ").append(word);
    }
  }
  return {};
}

/// Whether a structure says nothing about whose the device is.
bool isHarmless(std::uint8_t type, std::span<const std::uint8_t> payload) {
  constexpr std::uint8_t kFlags = 0x01;
  constexpr std::uint8_t kTransmitPower = 0x0A;
  return (type == kFlags || type == kTransmitPower) && payload.size() <= 1;
}

}  // namespace

Anonymizer::Anonymizer() {
  std::random_device device;
  std::seed_seq seed{device(), device(), device(), device()};
  random_.seed(seed);
}

Advertisement Anonymizer::anonymized(const Advertisement& advertisement) {
  Device& device = deviceOf(advertisement.address);
  data_.clear();
  ByteCursor cursor(advertisement.data);
  while (!cursor.rest().empty()) {
    const std::size_t left = cursor.rest().size();
    ByteCursor structure(cursor.take(cursor.byte()));
    if (structure.rest().empty()) {
      // The end of the data, or the beginning of a structure that is longer than what is left.
      data_.insert(data_.end(), left, 0);
      break;
    }
    const std::uint8_t type = structure.byte();
    const auto payload = structure.rest();
    const auto known = AdvertisingData::StructureType{type};
    if (known == AdvertisingData::manufacturerSpecific) {
      AdvertisingData::append(data_, known, bytesOf(payloadFor(device, textOf(payload))));
    } else if (known == AdvertisingData::completeName || known == AdvertisingData::shortenedName) {
      appendName(known, textOf(payload));
    } else {
      const std::vector<std::uint8_t> zeros(isHarmless(type, payload) ? 0 : payload.size(), 0);
      AdvertisingData::append(data_, known, zeros.empty() ? payload : std::span(zeros));
    }
  }
  Advertisement anonymous = advertisement;
  anonymous.address = device.address;
  anonymous.data = data_;
  return anonymous;
}

Anonymizer::Device& Anonymizer::deviceOf(const DeviceAddress& address) {
  const auto [place, isNew] = devices_.try_emplace(address);
  if (isNew) {
    place->second.address = makeAddress(address.type, address.bytes.front());
  }
  return place->second;
}

DeviceAddress Anonymizer::makeAddress(AddressType type, std::uint8_t first) {
  // The two bits in front tell the kinds of random addresses apart.
  constexpr std::uint8_t kKind = 0xC0;
  DeviceAddress made;
  made.type = type;
  do {
    std::uint64_t digits = random_();
    for (std::uint8_t& byte : made.bytes) {
      byte = static_cast<std::uint8_t>(digits);
      digits >>= 8U;
    }
    if (type == AddressType::randomAddress) {
      made.bytes[0] = static_cast<std::uint8_t>((made.bytes[0] & ~kKind) | (first & kKind));
    }
  } while (!taken_.insert(made.bytes).second);
  return made;
}

std::string_view Anonymizer::payloadFor(Device& device, std::string_view payload) {
  const auto [place, isNew] = device.payloads.try_emplace(std::string(payload));
  if (isNew) {
    const std::size_t kept = keptOf(bytesOf(payload));
    std::string made(payload.substr(0, kept));
    made.resize(payload.size(), '\0');
    std::size_t number = device.shapes[made]++;
    for (std::size_t index = made.size(); index > kept && number > 0; number >>= 8U) {
      made[--index] = static_cast<char>(number & 0xFFU);
    }
    place->second = std::move(made);
  }
  return place->second;
}

void Anonymizer::appendName(AdvertisingData::StructureType type, std::string_view bytes) {
  // A phone reads no further than a zero.
  const std::string_view name = bytes.substr(0, bytes.find('\0'));
  if (name.empty()) {
    AdvertisingData::append(data_, type, bytesOf(std::string(bytes.size(), '\0')));
    return;
  }
  auto place = names_.find(name);
  if (place == names_.end()) {
    const std::string made = "Device " + std::to_string(names_.size() + 1) + wordIn(name);
    place = names_.emplace(name, made).first;
  }
  AdvertisingData::append(data_, type, bytesOf(place->second));
}

}  // namespace nimbrel
