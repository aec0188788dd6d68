#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// Appends `text` so that it cannot move the cursor, break the line or change the direction of the
/// text after it: control characters and invalid bytes become \xNN, bidirectional controls (U+202A
/// to U+202E, U+2066 to U+2069) become \u202E and so on.
void appendPrintable(std::string& out, std::string_view text);

}  // namespace nimbrel
