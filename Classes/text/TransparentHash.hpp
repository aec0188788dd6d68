#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace nimbrel {

/// Hashes `std::string` and `std::string_view` alike, so that a map with `std::string` keys can be
/// searched with a view, without copying it.
struct TransparentHash {
  using is_transparent = void;

  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>{}(text);
  }
};

}  // namespace nimbrel
