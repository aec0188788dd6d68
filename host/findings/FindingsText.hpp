#pragma once

#include <cstddef>
#include <string>

#include "host/base/WallClock.hpp"
#include "host/findings/Findings.hpp"

namespace nimbrel {

struct FindingsTextStyle {
  WallClock clock{false};
  bool isColoured = false;
  std::size_t columns = 80;
  /// How many lines the paragraphs may take; absent for all.
  std::optional<std::size_t> lines;
};

/// The findings for a person: a paragraph for each device of interest, the most surprising first,
/// and the other devices grouped by reason.
std::string findingsText(const Findings& findings, const FindingsTextStyle& style);

/// One device's findings in full, with the times at which its fate changed.
std::string storyText(const Findings& findings, const FoundDevice& device,
                      const FindingsTextStyle& style);

}  // namespace nimbrel
