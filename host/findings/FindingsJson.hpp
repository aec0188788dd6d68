#pragma once

#include <cstddef>
#include <cstdint>

#include "host/base/JsonWriter.hpp"
#include "host/findings/Findings.hpp"
#include "host/findings/JsonMembers.hpp"

namespace nimbrel {

/// Writes the object of one device, without a newline. Times are milliseconds since 1970,
/// strengths are in dBm.
void writeDevice(JsonWriter& json, const Findings& findings, const FoundDevice& device);

/// Adds the member "run" to an object, with as many beacons at most.
void addRun(Members& object, const Findings& findings, std::size_t beaconsAtMost = SIZE_MAX);

/// Writes the object of the whole run, without a newline.
void writeRun(JsonWriter& json, const Findings& findings);

}  // namespace nimbrel
