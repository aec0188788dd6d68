#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// JSON text, appended to a buffer (RFC 8259). A line is written for each detection of a replay,
/// so that no tree is built for it: values go straight from the channel into the text.
void appendJson(std::string& out, const EncodableValue& value);

/// Quoted and escaped; so are the control characters that JSON would allow (U+007F to U+009F), as a
/// terminal may show the text. Bytes that are not valid UTF-8 become U+FFFD.
void appendJson(std::string& out, std::string_view text);

/// The shortest digits that read back as the same number, always with a point or an exponent; null
/// if it is not finite.
void appendJson(std::string& out, double number);

void appendJson(std::string& out, std::int64_t number);

}  // namespace nimbrel
