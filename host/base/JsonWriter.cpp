#include "host/base/JsonWriter.hpp"

#include <array>
#include <cmath>
#include <cstring>

#include "Classes/text/Utf8.hpp"

namespace nimbrel {

namespace {

/// The characters that a text in JSON cannot hold as they are, those that would steer a terminal,
/// and all that is not ASCII and so has to be looked at as UTF-8.
constexpr auto kNeedsCare = [] {
  std::array<bool, 256> needsCare{};
  for (std::size_t byte = 0; byte < needsCare.size(); ++byte) {
    needsCare[byte] = byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\';
  }
  return needsCare;
}();

/// The same for eight bytes at once. All arithmetic stays within its byte as long as none of the
/// lower ones needs care.
constexpr bool needsCare(std::uint64_t bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  return ((bytes | (bytes + kOnes) | (bytes - kOnes * 0x20) | ((bytes ^ kOnes * '"') - kOnes) |
           ((bytes ^ kOnes * '\\') - kOnes)) &
          (kOnes * 0x80)) != 0;
}

}  // namespace

void JsonWriter::grow(std::size_t count) {
  std::size_t written = size();
  if (output_ != nullptr) {
    out_.resize(written);
    end_ = limit_ = out_.data();  // if writing fails, the buffer is empty
    output_->lineEnded();
    written = out_.size();
  }
  out_.resize(written + count + kLine);
  end_ = out_.data() + written;
  limit_ = out_.data() + out_.size();
}

void JsonWriter::real(double number) {
  const double magnitude = std::abs(number);
  // Signal strengths and powers are whole nearly always; the digits of an integer come cheap.
  if (magnitude < 1e16 && static_cast<double>(static_cast<std::int64_t>(number)) == number) {
    if (number == 0.0 && std::signbit(number)) {
      put('-');
    }
    integer(static_cast<std::int64_t>(number));
    put(".0");
  } else if (std::isfinite(number)) {
    const bool isFixed = magnitude >= 1e-4 && magnitude < 1e16;
    const auto format = isFixed ? std::chars_format::fixed : std::chars_format::scientific;
    makeRoom(kLongestNumber);
    end_ = std::to_chars(end_, limit_, number, format).ptr;
  } else {
    null();
  }
}

void JsonWriter::text(std::string_view text) {
  makeRoom(text.size() + 2);
  char* letter = end_;
  *letter++ = '"';
  bool isEscaped = false;
  std::string_view rest = text;
  for (std::uint64_t bytes = 0; rest.size() >= sizeof bytes; rest.remove_prefix(sizeof bytes)) {
    std::memcpy(&bytes, rest.data(), sizeof bytes);
    letter = std::copy_n(rest.begin(), sizeof bytes, letter);
    isEscaped |= needsCare(bytes);
  }
  for (const char each : rest) {
    *letter++ = each;
    isEscaped |= kNeedsCare[static_cast<std::uint8_t>(each)];
  }
  *letter++ = '"';
  if (isEscaped) {
    escaped(text);
  } else {
    end_ = letter;
  }
}

void JsonWriter::escaped(std::string_view text) {
  put('"');
  while (!text.empty()) {
    constexpr std::string_view kNamed = "\"\\\n\r\t";
    constexpr std::string_view kNames = "\"\\nrt";
    constexpr std::string_view kDigits = "0123456789abcdef";
    const Utf8Character character = decodeUtf8(text);
    if (!character.valid) {
      put("\uFFFD");
    } else if (const auto place = kNamed.find(text.front()); place != std::string_view::npos) {
      put('\\');
      put(kNames[place]);
    } else if (character.codePoint < 0x20 ||
               (character.codePoint >= 0x7F && character.codePoint < 0xA0)) {
      put("\\u00");
      put(kDigits[character.codePoint >> 4U]);
      put(kDigits[character.codePoint & 0x0FU]);
    } else {
      put(text.substr(0, character.size));
    }
    text.remove_prefix(character.size);
  }
  put('"');
}

}  // namespace nimbrel
