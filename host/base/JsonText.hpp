#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/EncodableValue.hpp"

namespace nimbrel {

// One JSON value, appended to a buffer as `JsonWriter` writes it.

/// A line is written for each detection of a replay, so that no tree is built for it: values go
/// straight from the channel into the text.
void appendJson(std::string& out, const EncodableValue& value);
void appendJson(std::string& out, std::string_view text);
void appendJson(std::string& out, double number);
void appendJson(std::string& out, std::int64_t number);

}  // namespace nimbrel
