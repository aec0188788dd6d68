#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace nimbrel {

/// A terminal's size in characters.
struct TerminalSize {
  std::size_t columns;
  std::size_t lines;
};

/// A stream to an open file descriptor, written in large pieces.
class Output {
 public:
  /// In place of a descriptor: everything stays in the buffer.
  static constexpr int kInMemory = -1;

  /// `beforeWriting` is called before each piece, for code that shares the terminal.
  explicit Output(int descriptor, std::function<void()> beforeWriting = nullptr)
      : descriptor_(descriptor), beforeWriting_(std::move(beforeWriting)) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// The text to append to. Call `lineEnded` after each line.
  std::string& buffer() { return buffer_; }

  /// Writes the buffer once it holds a large piece. Throws std::system_error if writing fails.
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

  /// 80 by 24 if the terminal does not say.
  [[nodiscard]] TerminalSize terminalSize() const;

 private:
  static constexpr std::size_t kLargePiece = std::size_t{1} << 16U;

  int descriptor_;
  std::function<void()> beforeWriting_;
  std::string buffer_;
};

}  // namespace nimbrel
