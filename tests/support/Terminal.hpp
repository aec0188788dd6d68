#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>

namespace nimbrel {

/// A terminal with a program at one end and a test, as its user, at the other.
class Terminal {
 public:
  Terminal(unsigned short columns, unsigned short lines) {
    const winsize size{lines, columns, 0, 0};
    EXPECT_EQ(openpty(&user_, &program_, nullptr, nullptr, &size), 0);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    close(user_);
    close(program_);
  }

  /// The descriptor of the program's end.
  [[nodiscard]] int program() const { return program_; }

  /// What was shown since the last time, at least up to `end`: a terminal hands on in pieces what
  /// was written at once. Less, where nothing comes for ten seconds.
  [[nodiscard]] std::string shownWith(std::string_view end) const {
    std::string text;
    std::array<char, 4096> piece{};
    pollfd ready{user_, POLLIN, 0};
    while (text.find(end) == std::string::npos && poll(&ready, 1, 10'000) == 1) {
      const ssize_t size = read(user_, piece.data(), piece.size());
      if (size <= 0) {
        break;
      }
      text.append(piece.data(), static_cast<std::size_t>(size));
    }
    return text;
  }

  /// Whether `text` is shown within ten seconds.
  [[nodiscard]] bool shows(std::string_view text) const {
    return shownWith(text).find(text) != std::string::npos;
  }

 private:
  int user_ = -1;
  int program_ = -1;
};

}  // namespace nimbrel
