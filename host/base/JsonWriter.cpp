#include "host/base/JsonWriter.hpp"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "Classes/text/Utf8.hpp"
#include "platform/PlainText.hpp"

namespace nimbrel {

namespace {

/// The shortest digits of numbers that were written before: distances repeat, as they come from
/// whole signal strengths, and finding their digits takes longer than the rest of an event.
class KnownDigits {
 public:
  /// Valid until the next call. REQUIRES: `number` is finite and not 0.
  std::string_view of(double number) {
    // Multiplied by 2^64 over the golden ratio. The upper bits depend on all of the number.
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
    Digits& digits = digits_[std::bit_cast<std::uint64_t>(number) * kGolden >> (64U - kBits)];
    if (digits.number != number) {
      digits = digitsOf(number);
    }
    return {digits.characters.data(), digits.size};
  }

 private:
  struct Digits {
    double number = 0.0;
    std::size_t size = 0;
    std::array<char, 32> characters{};
  };

  static Digits digitsOf(double number) {
    const double magnitude = std::abs(number);
    const bool isFixed = magnitude >= 1e-4 && magnitude < 1e16;
    const auto format = isFixed ? std::chars_format::fixed : std::chars_format::scientific;
    Digits digits{number};
    char* const begin = digits.characters.data();
    const auto end = std::to_chars(begin, begin + digits.characters.size(), number, format).ptr;
    digits.size = static_cast<std::size_t>(end - begin);
    return digits;
  }

  static constexpr unsigned kBits = 9;
  std::array<Digits, std::size_t{1} << kBits> digits_;
};

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
    static thread_local KnownDigits digits;
    put(digits.of(number));
  } else {
    null();
  }
}

void JsonWriter::text(std::string_view text) {
  put('"');
  while (!text.empty()) {
    const auto end = std::ranges::find_if_not(text, isPlain);
    const auto plain = static_cast<std::size_t>(end - text.begin());
    put(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(putEscaped(text));
    }
  }
  put('"');
}

std::size_t JsonWriter::putEscaped(std::string_view text) {
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
  return character.size;
}

}  // namespace nimbrel
