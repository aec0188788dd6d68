#pragma once

#include <string>
#include <string_view>

namespace nimbrel {

/// Compares two transcripts line by line as JSON. In events, integers and floating-point numbers
/// are different, and floating-point numbers are equal within a hundred-thousandth. All other
/// numbers must be the same.
///
/// Returns the first three differences for a person to read, each as "FILE:LINE: " with the two
/// lines and up to three lines before them; empty if there is none. `file` and the line number are
/// those of the expected transcript.
std::string transcriptDifferences(const std::string& expected, const std::string& actual,
                                  std::string_view file);

}  // namespace nimbrel
