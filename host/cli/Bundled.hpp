#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace nimbrel {

/// The capture that comes with the program, example/walk.btsnoop.
std::span<const std::uint8_t> bundledRecording();

/// The scenario that comes with the program, example/day.jsonl.
std::string_view bundledScenario();

}  // namespace nimbrel
