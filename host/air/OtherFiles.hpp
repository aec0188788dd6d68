#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace nimbrel {

/// Says what a file is that is no recording, and what to do: "is a PDF document, not a recording;
/// ...".
std::string refusalOfOtherFile(std::span<const std::uint8_t> bytes);

}  // namespace nimbrel
