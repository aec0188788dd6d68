#pragma once

#include <string>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// Describes how a received UUID differs from a similar one in a filter, to follow "it": "has B as
/// digit 13 of 32 where the filter has 8". Empty if the two are equal or not similar.
std::string uuidDifference(const UUID& asked, const UUID& heard);

}  // namespace nimbrel
