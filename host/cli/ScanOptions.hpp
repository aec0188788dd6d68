#pragma once

#include <optional>

#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

/// The command line of `nimbrel scan`.
struct ScanOptions : RunOptions {
  bool table = false;
  bool json = false;
  bool quiet = false;

  /// Absent if the arguments ask for the help, which is then printed. Throws UsageError.
  /// `arguments` begin with the command's name.
  static std::optional<ScanOptions> parse(int count, const char* const* arguments);
};

}  // namespace nimbrel
