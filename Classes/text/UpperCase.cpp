#include "Classes/text/UpperCase.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include "Classes/text/Utf8.hpp"

namespace nimbrel {

namespace {

/// Every `step`-th code point from `first` to `last` maps to itself plus `offset`.
struct Range {
  char32_t first;
  char32_t last;
  std::uint32_t step;
  std::int32_t offset;
};

/// A code point that maps to several. Unused elements are zero.
struct Expansion {
  char32_t from;
  std::array<char32_t, 3> to;
};

#include "Classes/text/UpperCaseTable.inc"

void appendUpperCased(std::string& text, char32_t codePoint) {
  const auto* expansion =
      std::lower_bound(std::begin(kExpansions), std::end(kExpansions), codePoint,
                       [](const Expansion& entry, char32_t wanted) { return entry.from < wanted; });
  if (expansion != std::end(kExpansions) && expansion->from == codePoint) {
    for (const char32_t part : expansion->to) {
      if (part != 0) {
        appendUtf8(text, part);
      }
    }
    return;
  }
  const auto* range =
      std::lower_bound(std::begin(kRanges), std::end(kRanges), codePoint,
                       [](const Range& entry, char32_t wanted) { return entry.last < wanted; });
  if (range != std::end(kRanges) && range->first <= codePoint &&
      (codePoint - range->first) % range->step == 0) {
    codePoint = static_cast<char32_t>(static_cast<std::int32_t>(codePoint) + range->offset);
  }
  appendUtf8(text, codePoint);
}

}  // namespace

std::string upperCased(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    if (character.valid) {
      appendUpperCased(result, character.codePoint);
    } else {
      result.append(text.substr(0, 1));
    }
    text.remove_prefix(character.size);
  }
  return result;
}

}  // namespace nimbrel
