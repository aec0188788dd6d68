#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// Converts `text` (UTF-8) to upper case by Unicode's full, language-independent mapping: one
/// character may become up to three (ß becomes SS). Bytes that are not valid UTF-8 are kept.
/// Source: Unicode Character Database, UnicodeData.txt and SpecialCasing.txt.
std::string upperCased(std::string_view text);

}  // namespace nimbrel
