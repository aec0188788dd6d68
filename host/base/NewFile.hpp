#pragma once

#include <string>

#include "host/base/InputError.hpp"

namespace nimbrel {

/// Opens a new file for writing and returns its descriptor, which the caller closes. Throws
/// InputError if it cannot be made, or if it exists already and `overwrites` is false.
int makeFile(const std::string& path, bool overwrites);

/// The error of a file that exists already.
InputError fileExists(const std::string& path);
/// The error of a file that cannot be made, for the reason in `errno`.
InputError fileNotMade(const std::string& path);

}  // namespace nimbrel
