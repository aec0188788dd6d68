#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace nimbrel {

/// A terminal with a program at one end and a test, as its user, at the other. TerminalTest skips
/// tests where the machine has none.
class Terminal {
 public:
  Terminal(unsigned short columns, unsigned short lines) {
    const winsize size{lines, columns, 0, 0};
    if (openpty(&user_, &program_, nullptr, nullptr, &size) != 0) {
      problem_ = std::strerror(errno);
    }
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    close(user_);
    close(program_);
  }

  /// Why there is no terminal; empty if there is one.
  [[nodiscard]] const std::string& problem() const { return problem_; }

  void resize(unsigned short columns, unsigned short lines) const {
    const winsize size{lines, columns, 0, 0};
    EXPECT_EQ(ioctl(user_, TIOCSWINSZ, &size), 0);
  }

  /// The descriptor of the program's end.
  [[nodiscard]] int program() const { return program_; }

  /// What is shown next, up to `end` and with it: a terminal hands on in pieces what was written at
  /// once. All of it where `end` does not come within ten seconds.
  std::string shownUpTo(std::string_view end) {
    std::array<char, 4096> piece{};
    pollfd ready{user_, POLLIN, 0};
    while (shown_.find(end) == std::string::npos && poll(&ready, 1, 10'000) == 1) {
      const ssize_t size = read(user_, piece.data(), piece.size());
      if (size <= 0) {
        break;
      }
      shown_.append(piece.data(), static_cast<std::size_t>(size));
    }
    const auto place = shown_.find(end);
    const auto size = place == std::string::npos ? shown_.size() : place + end.size();
    std::string text = shown_.substr(0, size);
    shown_.erase(0, size);
    return text;
  }

  /// Whether `text` is shown next, with or without others before it.
  bool shows(std::string_view text) { return shownUpTo(text).ends_with(text); }

 private:
  int user_ = -1;
  int program_ = -1;
  std::string problem_;
  std::string shown_;
};

/// A test on a terminal of its own, of four lines of 73 characters.
class TerminalTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TERM", "xterm", 1);
    if (!terminal.problem().empty()) {
      GTEST_SKIP() << "there is no pseudo-terminal here (is /dev/pts mounted?): "
                   << terminal.problem();
    }
  }

  Terminal terminal{73, 4};
};

}  // namespace nimbrel
