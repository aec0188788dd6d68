#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/InputError.hpp"

namespace nimbrel {

// Damage in the records of a capture `file`, in the record that starts at byte `offset`.

/// Far above any packet: a length beyond it is damage, not data.
inline constexpr std::uint32_t kLongestRecord = 0x40000;

[[noreturn]] inline void throwCutOff(const std::string& file, std::size_t offset) {
  throw InputError(file, "is cut off inside the record at byte " + std::to_string(offset) +
                             "; used up to there");
}

[[noreturn]] inline void throwImpossibleLength(const std::string& file, std::size_t offset,
                                               std::uint32_t length) {
  throw InputError(file, "the record at byte " + std::to_string(offset) + " claims a length of " +
                             std::to_string(length) + " bytes, which none has; used up to there");
}

/// `problem` follows on "the block at byte N".
[[noreturn]] inline void throwDamaged(const std::string& file, std::size_t offset,
                                      std::string_view problem) {
  throw InputError(file, "the block at byte " + std::to_string(offset) + " " +
                             std::string(problem) + "; used up to there");
}

}  // namespace nimbrel
