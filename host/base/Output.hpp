#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace nimbrel {

/// In characters.
struct TerminalSize {
  std::size_t columns;
  std::size_t lines;
};

/// A stream to an open file descriptor, written in large pieces.
class Output {
 public:
  /// `beforeWriting` is called before each piece, for whoever shares the terminal.
  explicit Output(int descriptor, std::function<void()> beforeWriting = nullptr)
      : descriptor_(descriptor), beforeWriting_(std::move(beforeWriting)) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// A place to append to. After each line, call `lineEnded`.
  std::string& buffer() { return buffer_; }

  /// Writes what has gathered, once that is a large piece. Throws std::system_error where the
  /// descriptor cannot be written.
  void lineEnded() {
    if (buffer_.size() >= kLargePiece) {
      flush();
    }
  }

  void writeLine(std::string_view line) {
    buffer_.append(line).push_back('\n');
    lineEnded();
  }

  void flush();

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] bool isTerminal() const;

  /// 80 by 24 where the terminal does not tell.
  [[nodiscard]] TerminalSize terminalSize() const;

 private:
  static constexpr std::size_t kLargePiece = std::size_t{1} << 16U;

  int descriptor_;
  std::function<void()> beforeWriting_;
  std::string buffer_;
};

}  // namespace nimbrel
