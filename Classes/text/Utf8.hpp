#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nimbrel {

/// The first character of a text.
struct Utf8Character {
  char32_t codePoint;  // of no meaning where `valid` is false
  std::size_t size;    // in bytes; 1 for a byte that is not part of valid UTF-8
  bool valid;
};

/// Reads the character that `text`, which is not empty, begins with.
/// Source: The Unicode Standard, table 3-7.
Utf8Character decodeUtf8(std::string_view text);

/// Appends a code point, no surrogate, in UTF-8.
void appendUtf8(std::string& text, char32_t codePoint);

/// The beginning of `text` up to so many characters. A byte that is not valid UTF-8 counts as one.
std::string_view firstCharacters(std::string_view text, std::size_t count);

}  // namespace nimbrel
