#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace nimbrel {

/// The capture that comes with the program, examples/walk.btsnoop.
std::span<const std::uint8_t> bundledRecording();

/// The scenario that comes with the program, examples/day.jsonl.
std::string_view bundledScenario();

}  // namespace nimbrel
