#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// Appends `text` without anything that would move the cursor, break the line or turn the direction
/// of what follows: control characters, and bytes that are no character, stand as \xNN, and the
/// bidirectional controls (U+202A to U+202E, U+2066 to U+2069) as \u202E.
void appendPrintable(std::string& out, std::string_view text);

}  // namespace nimbrel
