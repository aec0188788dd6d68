#include <memory>

#include "host/cli/Commands.hpp"
#include "host/cli/ExplainOptions.hpp"
#include "host/cli/ExplainSession.hpp"
#include "host/cli/Run.hpp"

namespace nimbrel {

int explainCommand(int count, const char* const* arguments) {
  const std::optional<ExplainOptions> options = ExplainOptions::parse(count, arguments);
  if (!options.has_value()) {
    return 0;
  }
  return run(*options, true, [&](MainQueue& queue, Output& output, Output& errors) {
    return std::make_unique<ExplainSession>(*options, queue, output, errors);
  });
}

}  // namespace nimbrel
