#pragma once

#include <functional>
#include <memory>

#include "host/base/Output.hpp"
#include "host/cli/Session.hpp"
#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

using MakeSession =
    std::function<std::unique_ptr<Session>(MainQueue& queue, Output& output, Output& errors)>;

/// Runs a session over what the options name, a recording or the machine's adapter, up to its end,
/// the time asked for or Ctrl-C. `showsProgress`: on a terminal, how far a recording is read.
/// Returns the exit status.
int run(const RunOptions& options, bool showsProgress, const MakeSession& make);

}  // namespace nimbrel
