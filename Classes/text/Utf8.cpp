#include "Classes/text/Utf8.hpp"

#include <cassert>

namespace nimbrel {

namespace {

constexpr char32_t kContinuationBits = 0x3F;

char32_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

}  // namespace

Utf8Character decodeUtf8(std::string_view text) {
  assert(!text.empty());
  const char32_t lead = byteAt(text, 0);
  if (lead < 0x80) {
    return {lead, 1, true};
  }
  constexpr Utf8Character kInvalid{0, 1, false};
  // After E0, ED, F0 and F4 the second byte has a narrower range, which excludes overlong forms,
  // surrogates and everything above U+10FFFF.
  std::size_t size = 2;
  char32_t lowest = 0x80;
  char32_t highest = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    size = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    size = 3;
    lowest = lead == 0xE0 ? 0xA0 : lowest;
    highest = lead == 0xED ? 0x9F : highest;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    size = 4;
    lowest = lead == 0xF0 ? 0x90 : lowest;
    highest = lead == 0xF4 ? 0x8F : highest;
  } else {
    return kInvalid;
  }
  if (text.size() < size || byteAt(text, 1) < lowest || byteAt(text, 1) > highest) {
    return kInvalid;
  }
  char32_t codePoint = lead & (0xFFU >> (size + 1));
  for (std::size_t index = 1; index < size; ++index) {
    const char32_t byte = byteAt(text, index);
    if ((byte & ~kContinuationBits) != 0x80) {
      return kInvalid;
    }
    codePoint = codePoint << 6U | (byte & kContinuationBits);
  }
  return {codePoint, size, true};
}

void appendUtf8(std::string& text, char32_t codePoint) {
  assert(codePoint <= 0x10FFFF && (codePoint < 0xD800 || codePoint > 0xDFFF));
  const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto continuation = [&](unsigned shift) {
    append(0x80 | (codePoint >> shift & kContinuationBits));
  };
  if (codePoint < 0x80) {
    append(codePoint);
  } else if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6U);
    continuation(0);
  } else if (codePoint < 0x10000) {
    append(0xE0 | codePoint >> 12U);
    continuation(6);
    continuation(0);
  } else {
    append(0xF0 | codePoint >> 18U);
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; count > 0 && end < text.size(); --count) {
    end += decodeUtf8(text.substr(end)).size;
  }
  return text.substr(0, end);
}

}  // namespace nimbrel
