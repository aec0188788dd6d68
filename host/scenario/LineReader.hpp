#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nimbrel {

/// Splits what comes from a file descriptor into lines.
class LineReader {
 public:
  explicit LineReader(int descriptor) : descriptor_(descriptor) {}

  /// The next line that has come whole, or at the end of the input the rest of it; absent where
  /// more has to be read first. Without its newline, and valid until the next call of `read`.
  std::optional<std::string_view> next();

  /// Reads what there is, and waits where there is nothing yet. Throws std::system_error.
  void read();

  [[nodiscard]] bool isAtEnd() const { return isAtEnd_; }

 private:
  int descriptor_;
  std::string text_;
  std::size_t begin_ = 0;     // of what no line was made of
  std::size_t searched_ = 0;  // up to where there is no newline behind begin_
  bool isAtEnd_ = false;
};

}  // namespace nimbrel
