#pragma once

#include <functional>
#include <string>

#include "host/findings/Findings.hpp"

namespace nimbrel {

/// Appends the object of one device, without a newline. Times are milliseconds since 1970,
/// strengths are in dBm.
void appendDeviceJson(std::string& out, const Findings& findings, const FoundDevice& device);

/// Appends the object of the whole run, without a newline.
void appendRunJson(std::string& out, const Findings& findings);

}  // namespace nimbrel
