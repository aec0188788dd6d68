#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace nimbrel {

/// The first character of a text.
struct Utf8Character {
  char32_t codePoint;  // undefined unless `valid`
  std::size_t size;    // in bytes; 1 unless `valid`
  bool valid;
};

/// Reads the first character of `text`. A byte that is not part of valid UTF-8 is a character that
/// is not `valid`. REQUIRES: `text` is not empty. Source: The Unicode Standard, table 3-7.
Utf8Character decodeUtf8(std::string_view text);

/// Appends a code point in UTF-8. REQUIRES: it is at most U+10FFFF and not a surrogate.
void appendUtf8(std::string& text, char32_t codePoint);

/// The first `count` characters of `text`, or all of it if it has fewer. A byte that is not part of
/// valid UTF-8 counts as one character.
std::string_view firstCharacters(std::string_view text, std::size_t count);

}  // namespace nimbrel
