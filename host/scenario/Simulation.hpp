#pragma once

#include "host/base/Output.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/Stage.hpp"

namespace nimbrel {

/// Plays `scenario` in virtual time and writes its transcript, JSON Lines, to `output`.
void playScenario(const Scenario& scenario, Output& output,
                  const PluginAttachment& attach = attachPlugin);

/// Performs the steps of `scenario` on a stage of its phone, up to the time of the last one.
void playSteps(const Scenario& scenario, Stage& stage);

}  // namespace nimbrel
