#pragma once

#include <optional>
#include <string>

#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

/// The command line of `nimbrel explain`.
struct ExplainOptions : RunOptions {
  /// An address, a UUID or a name: only these devices are explained.
  std::optional<std::string> device;
  bool all = false;
  bool json = false;
  /// No line beside the findings.
  bool quiet = false;

  /// Absent if the arguments ask for the help, which is then printed. Throws UsageError.
  /// `arguments` begin with the command's name.
  static std::optional<ExplainOptions> parse(int count, const char* const* arguments);
};

}  // namespace nimbrel
