#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/air/InputError.hpp"

namespace nimbrel {

// Damage in the records of a capture `file`, in the record that starts at byte `offset`.

[[noreturn]] inline void throwCutOff(const std::string& file, std::size_t offset) {
  throw InputError(file, "is cut off inside the record at byte " + std::to_string(offset) +
                             "; used up to there");
}

[[noreturn]] inline void throwImpossibleLength(const std::string& file, std::size_t offset,
                                               std::uint32_t length) {
  throw InputError(file, "the record at byte " + std::to_string(offset) + " claims a length of " +
                             std::to_string(length) + " bytes, which none has; used up to there");
}

}  // namespace nimbrel
