#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace nimbrel {

/// Hashes texts of every kind alike, so that a map of `std::string` is searched with a view and
/// no key is copied for a look-up.
struct TransparentHash {
  using is_transparent = void;

  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>{}(text);
  }
};

}  // namespace nimbrel
