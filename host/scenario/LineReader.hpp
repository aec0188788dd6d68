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

  /// The next line that has come whole, or at the end of the input the rest of it; absent if
  /// more has to be read first. Without its newline, and valid until the next call of `read`.
  std::optional<std::string_view> next();

  /// Reads what there is, and waits if there is nothing yet. Throws std::system_error.
  void read();

  [[nodiscard]] bool isAtEnd() const { return isAtEnd_; }

 private:
  int descriptor_;
  std::string text_;
  std::size_t begin_ = 0;     // of what no line was made of
  std::size_t searched_ = 0;  // [begin_, searched_) holds no newline
  bool isAtEnd_ = false;
};

}  // namespace nimbrel
