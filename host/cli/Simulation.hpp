#pragma once

#include <functional>

#include "host/cli/Output.hpp"
#include "host/cli/Scenario.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel {

/// Brings a plug-in to life on a phone and connects it with an application: by its registration,
/// or, where `isRegistered` is false, by hand and without one.
using PluginAttachment = std::function<void(Messenger& messenger, Phone& phone, bool isRegistered)>;

/// Attaches the plug-in itself.
void attachPlugin(Messenger& messenger, Phone& phone, bool isRegistered);

/// Plays `scenario` in virtual time and writes its transcript, JSON Lines, to `output`.
void playScenario(const Scenario& scenario, Output& output,
                  const PluginAttachment& attach = attachPlugin);

}  // namespace nimbrel
