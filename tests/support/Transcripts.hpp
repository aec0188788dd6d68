#pragma once

#include <string>
#include <vector>

#include "host/cli/Simulation.hpp"

namespace nimbrel::testing_support {

/// The scenarios below tests/scenarios that have an expected transcript, as paths from there
/// without their ending: "core/stop-when-idle".
std::vector<std::string> scenarioNames();

/// Plays a scenario and tells the first difference from its expected transcript; empty where there
/// is none. Lines are compared as JSON: integers and floating-point numbers of an event differ in
/// kind, floating-point numbers are equal within a hundred-thousandth.
std::string transcriptDifference(const std::string& name,
                                 const PluginAttachment& attach = attachPlugin);

/// A scenario's name as a test's: letters, digits and underscores.
std::string testName(std::string name);

}  // namespace nimbrel::testing_support
