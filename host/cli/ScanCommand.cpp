#include <memory>

#include "host/cli/Commands.hpp"
#include "host/cli/Run.hpp"
#include "host/cli/ScanOptions.hpp"
#include "host/cli/ScanSession.hpp"

namespace nimbrel {

int scanCommand(int count, const char* const* arguments) {
  const std::optional<ScanOptions> options = ScanOptions::parse(count, arguments);
  if (!options.has_value()) {
    return 0;
  }
  return run(*options, !options->table, [&](MainQueue& queue, Output& output, Output& errors) {
    return std::make_unique<ScanSession>(*options, queue, output, errors);
  });
}

}  // namespace nimbrel
