#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// `text` (UTF-8) in upper case by the full mapping of Unicode, independent of any language: one
/// character may become up to three (ß becomes SS). Bytes that are not valid UTF-8 stay as they
/// are. Source: Unicode Character Database, UnicodeData.txt and SpecialCasing.txt.
std::string upperCased(std::string_view text);

}  // namespace nimbrel
