#pragma once

#include <optional>

#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

/// The command line of `nimbrel scan`.
struct ScanOptions : RunOptions {
  bool table = false;
  bool json = false;
  bool quiet = false;

  /// Absent if the line asks for the help, which has been printed. Throws UsageError.
  /// `arguments` begin with the command's name.
  static std::optional<ScanOptions> parse(int count, const char* const* arguments);
};

}  // namespace nimbrel
