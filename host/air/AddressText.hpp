#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// "C6:55:44:33:22:11".
std::string addressText(const DeviceAddress& address);

/// Parses a text of that form, in either letter case. Absent for any other text.
std::optional<std::array<std::uint8_t, 6>> parseAddress(std::string_view text);

}  // namespace nimbrel
