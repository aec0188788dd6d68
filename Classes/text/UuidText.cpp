#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

/// Whether a hyphen precedes the byte at `index`.
constexpr bool startsGroup(std::size_t index) {
  return index == 4 || index == 6 || index == 8 || index == 10;
}

}  // namespace

UuidText::UuidText(const UUID& uuid) {
  char* out = characters_.data();
  for (std::size_t index = 0; index < uuid.bytes.size(); ++index) {
    if (startsGroup(index)) {
      *out++ = '-';
    }
    out = appendHexByte(out, uuid.bytes[index]);
  }
}

std::optional<UUID> parseUuid(std::string_view text) {
  if (text.size() != 36) {
    return std::nullopt;
  }
  UUID uuid;
  std::size_t position = 0;
  for (std::size_t index = 0; index < uuid.bytes.size(); ++index) {
    if (startsGroup(index) && text[position++] != '-') {
      return std::nullopt;
    }
    const int high = hexDigitValue(text[position++]);
    const int low = hexDigitValue(text[position++]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    uuid.bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return uuid;
}

}  // namespace nimbrel
