#include "host/air/AddressText.hpp"

#include "Classes/text/UuidText.hpp"

namespace nimbrel {

AddressText::AddressText(const DeviceAddress& address) {
  characters_.fill(':');
  for (std::size_t index = 0; index < address.bytes.size(); ++index) {
    appendHexByte(characters_.data() + 3 * index, address.bytes[index]);
  }
}

std::optional<std::array<std::uint8_t, 6>> parseAddress(std::string_view text) {
  std::array<std::uint8_t, 6> bytes{};
  if (text.size() != bytes.size() * 3 - 1) {
    return std::nullopt;
  }
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    const int high = hexDigitValue(text[index * 3]);
    const int low = hexDigitValue(text[index * 3 + 1]);
    const bool isLast = index + 1 == bytes.size();
    if (high < 0 || low < 0 || (!isLast && text[index * 3 + 2] != ':')) {
      return std::nullopt;
    }
    bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return bytes;
}

}  // namespace nimbrel
