#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "tests/host/air/Bytes.hpp"

namespace nimbrel::fuzz {

/// Ends the run where the code under test breaks a promise.
inline void require(bool promise) {
  if (!promise) {
    std::abort();
  }
}

/// Takes a fuzzer's bytes apart. At their end everything is zero and empty.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

  std::uint8_t byte() {
    if (rest_.empty()) {
      return 0;
    }
    const auto first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

  /// As many bytes as the next one says, or as there are.
  Bytes bytes() {
    const std::size_t count = byte();
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }
  std::string text() {
    const Bytes taken = bytes();
    return {taken.begin(), taken.end()};
  }

  Bytes rest() {
    const Bytes taken(rest_.begin(), rest_.end());
    rest_ = {};
    return taken;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace nimbrel::fuzz
