#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <string_view>

namespace nimbrel {

/// A whole number in decimal digits, with a minus sign where it is negative, for the length of a
/// statement: no memory is allocated.
class Decimal {
 public:
  explicit Decimal(std::integral auto number) {
    size_ = static_cast<std::size_t>(
        std::to_chars(digits_.data(), digits_.data() + digits_.size(), number).ptr -
        digits_.data());
  }

  operator std::string_view() const { return {digits_.data(), size_}; }

 private:
  std::array<char, 20> digits_{};  // -9223372036854775808 and 18446744073709551615 fill it
  std::size_t size_ = 0;
};

}  // namespace nimbrel
