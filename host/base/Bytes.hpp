#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace nimbrel {

// The same bytes in the other of their two types.

inline std::string_view textOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace nimbrel
