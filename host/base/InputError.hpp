#pragma once

#include <stdexcept>
#include <string>

namespace nimbrel {

/// An input is unusable, as a whole or from some point on. what() is one line for the user:
/// "FILE: what is wrong; what to do about it".
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, const std::string& problem)
      : std::runtime_error(file + ": " + problem) {}
};

}  // namespace nimbrel
