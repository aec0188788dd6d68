#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace nimbrel::testing_support {

/// The result of running the command.
struct Outcome {
  int status;  // the exit status, or the negative number of the signal that ended it
  std::string output;
  std::string errors;
};

/// Whether `text` has `part` in it, for EXPECT_TRUE.
inline testing::AssertionResult has(std::string_view text, std::string_view part) {
  const bool is = text.find(part) != std::string_view::npos;
  return (is ? testing::AssertionSuccess() : testing::AssertionFailure())
         << '"' << part << "\" in: " << text;
}

/// Runs the command as a user would, in UTC, with `input` as its standard input.
Outcome runCommand(const std::vector<std::string>& arguments, const std::string& input = "");

/// The same, with an open file descriptor as the standard output.
Outcome runCommandTo(int output, const std::vector<std::string>& arguments);

/// A file with some content, removed when the object goes out of scope.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace nimbrel::testing_support
