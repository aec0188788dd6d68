#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace nimbrel {

/// Whether a character is plain: printable ASCII, but no quotation mark and no backslash. A text of
/// plain characters needs no escaping.
constexpr bool isPlain(char character) {
  return character >= ' ' && character <= '~' && character != '"' && character != '\\';
}

/// A text of plain characters that is part of the program, such as the key of a map. It is never
/// copied.
class PlainLiteral {
 public:
  /// Does not compile for other characters.
  consteval PlainLiteral(const char* text) : text_(text) {
    if (!std::all_of(text_.begin(), text_.end(), isPlain)) {
      throw "a character is not plain";
    }
  }

  constexpr operator std::string_view() const { return text_; }

 private:
  std::string_view text_;
};

/// A short text of plain characters, such as a UUID. It is held in the object itself.
class PlainText {
 public:
  static constexpr std::size_t kLongest = 38;

  PlainText() = default;
  /// REQUIRES: `text` has at most `kLongest` characters, all of them plain.
  explicit PlainText(std::string_view text) : size_(static_cast<std::uint8_t>(text.size())) {
    assert(text.size() <= kLongest && std::all_of(text.begin(), text.end(), isPlain));
    std::copy(text.begin(), text.end(), characters_.begin());
  }

  /// Valid as long as the object is.
  operator std::string_view() const { return {characters_.data(), size_}; }

 private:
  std::uint8_t size_ = 0;
  std::array<char, kLongest> characters_{};
};

}  // namespace nimbrel
