#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nimbrel {

/// Splits the input of a file descriptor into lines.
class LineReader {
 public:
  explicit LineReader(int descriptor) : descriptor_(descriptor) {}

  /// The next complete line without its newline, or the rest at the end of the input; absent if
  /// more has to be read first. Valid until the next call of `read`.
  std::optional<std::string_view> next();

  /// Reads the available input, and waits for some if there is none. Throws std::system_error.
  void read();

  [[nodiscard]] bool isAtEnd() const { return isAtEnd_; }

 private:
  int descriptor_;
  std::string text_;
  std::size_t begin_ = 0;     // the start of the next line
  std::size_t searched_ = 0;  // [begin_, searched_) holds no newline
  bool isAtEnd_ = false;
};

}  // namespace nimbrel
