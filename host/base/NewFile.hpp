#pragma once

#include <string>

namespace nimbrel {

/// Opens a new file for writing and returns its descriptor, which the caller closes. Throws
/// InputError if it cannot be made, or if it exists already and `overwrites` is false.
int makeFile(const std::string& path, bool overwrites);

}  // namespace nimbrel
