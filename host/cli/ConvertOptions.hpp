#pragma once

#include <optional>
#include <string>

#include "host/cli/SharedOptions.hpp"
#include "host/scenario/AirPart.hpp"

namespace nimbrel {

/// The command line of `nimbrel convert`.
struct ConvertOptions {
  /// "-" is the standard input.
  std::string input;
  /// "-" is the standard output, for a scenario.
  std::string output;
  /// Whether the output is a scenario; else it is a recording.
  bool writesScenario = false;
  AirPart::Selection part;
  /// Filter maps for the scenario's application.
  EncodableList filters;
  /// The scenario's application runs in generic mode. Without this and without filters, the
  /// scenario has no application.
  bool isGeneric = false;
  bool withholdsBeacons = false;
  bool force = false;

  /// Absent if the line asks for the help, which has been printed. Throws UsageError.
  /// `arguments` begin with the command's name.
  static std::optional<ConvertOptions> parse(int count, const char* const* arguments);
};

}  // namespace nimbrel
