#pragma once

#include <cstdlib>
#include <string_view>

#include "host/base/Output.hpp"

namespace nimbrel {

/// Whether `output` is a terminal that understands control sequences: any but TERM=dumb.
inline bool takesEscapes(const Output& output) {
  const char* const kind = std::getenv("TERM");
  return output.isTerminal() && (kind == nullptr || std::string_view(kind) != "dumb");
}

/// Whether colours are shown there too: unless the user refuses them (NO_COLOR).
inline bool isColoured(const Output& output) {
  const char* const refused = std::getenv("NO_COLOR");
  return takesEscapes(output) && (refused == nullptr || *refused == '\0');
}

}  // namespace nimbrel
