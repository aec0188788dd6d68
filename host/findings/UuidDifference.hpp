#pragma once

#include <string>

#include "platform/Foundation.hpp"

namespace nimbrel {

/// How a UUID on the air is nearly the one asked for, to stand behind "it": "has B as digit 13 of
/// 32 where the filter has 8". Empty if the two are the same or not alike.
std::string uuidDifference(const UUID& asked, const UUID& heard);

}  // namespace nimbrel
