#pragma once

#include <concepts>
#include <string_view>

#include "Classes/text/Decimal.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

/// What a part of a diagnostic line looks like. Each result converts to `std::string_view`.
inline std::string_view textOf(std::string_view text) { return text; }
inline UuidText textOf(const UUID& uuid) { return UuidText(uuid); }
inline Decimal textOf(std::integral auto number) { return Decimal(number); }

}  // namespace nimbrel
