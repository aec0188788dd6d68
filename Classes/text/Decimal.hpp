#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <string_view>

namespace nimbrel {

/// The decimal digits of an integer, with a minus sign if it is negative. Allocates no memory.
class Decimal {
 public:
  explicit Decimal(std::integral auto number) {
    size_ = static_cast<std::size_t>(
        std::to_chars(digits_.data(), digits_.data() + digits_.size(), number).ptr -
        digits_.data());
  }

  /// Valid as long as the object is.
  operator std::string_view() const { return {digits_.data(), size_}; }

 private:
  std::array<char, 20> digits_{};  // -9223372036854775808 and 18446744073709551615 fit exactly
  std::size_t size_ = 0;
};

}  // namespace nimbrel
