#pragma once

#include <optional>
#include <string>

#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

/// The command line of `nimbrel report`.
struct ReportOptions : RunOptions {
  /// The file that is written, "-" for the standard output.
  std::string page = "-";
  /// Whether the data alone is written.
  bool json = false;
  /// No line on the standard error but errors.
  bool quiet = false;

  /// Absent if the line asks for the help, which has been printed. Throws UsageError.
  /// `arguments` begin with the command's name.
  static std::optional<ReportOptions> parse(int count, const char* const* arguments);

  /// Whether a scenario is reported on, in place of a capture.
  [[nodiscard]] bool isScenario() const;

  /// The command line that makes the report again.
  [[nodiscard]] std::string command() const;
};

}  // namespace nimbrel
