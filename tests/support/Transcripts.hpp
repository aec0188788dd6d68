#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/scenario/Simulation.hpp"

namespace nimbrel::testing_support {

/// The scenarios below tests/scenarios, as paths from there without an extension:
/// "core/stop-when-idle". A scenario or an expected transcript without the other is among them.
std::vector<std::string> scenarioNames();

/// The text of a scenario.
std::string scenarioText(const std::string& name);

/// What `write` puts into the output that it is given.
std::string written(const std::function<void(Output&)>& write);

/// Plays a scenario. Returns the first difference from its expected transcript for a person to
/// read, or an empty text if there is none.
std::string transcriptDifference(const std::string& name,
                                 const PluginAttachment& attach = attachPlugin);

/// A scenario's name as the name of a test: letters, digits and underscores.
std::string testName(std::string name);

}  // namespace nimbrel::testing_support
