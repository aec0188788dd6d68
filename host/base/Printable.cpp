#include "host/base/Printable.hpp"

#include <array>
#include <cstdint>

#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {
namespace {

bool isControl(char32_t codePoint) {
  // The control characters of ASCII and of Latin-1.
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

bool turnsDirection(char32_t codePoint) {
  return (codePoint >= 0x202A && codePoint <= 0x202E) ||
         (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendDigits(std::string& out, std::uint8_t byte) {
  std::array<char, 2> digits;
  appendHexByte(digits.data(), byte);
  out.append(digits.data(), digits.size());
}

}  // namespace

void appendPrintable(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    if (!character.valid || isControl(character.codePoint)) {
      out.append("\\x");
      appendDigits(out, character.valid ? static_cast<std::uint8_t>(character.codePoint)
                                        : static_cast<std::uint8_t>(text.front()));
    } else if (turnsDirection(character.codePoint)) {
      out.append("\\u");
      appendDigits(out, static_cast<std::uint8_t>(character.codePoint >> 8U));
      appendDigits(out, static_cast<std::uint8_t>(character.codePoint));
    } else {
      out.append(text.substr(0, character.size));
    }
    text.remove_prefix(character.size);
  }
}

}  // namespace nimbrel
