#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// "C6:55:44:33:22:11".
class AddressText {
 public:
  explicit AddressText(const DeviceAddress& address);

  /// Valid as long as the object is.
  operator std::string_view() const { return {characters_.data(), characters_.size()}; }

 private:
  std::array<char, 17> characters_{};
};

/// Parses a text of that form, in either letter case. Absent for any other text.
std::optional<std::array<std::uint8_t, 6>> parseAddress(std::string_view text);

}  // namespace nimbrel
