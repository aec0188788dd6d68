#include <unistd.h>

#include <memory>
#include <optional>

#include "host/base/WholeFile.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/ReportOptions.hpp"
#include "host/cli/ReportSession.hpp"
#include "host/cli/Run.hpp"
#include "host/cli/ScenarioReport.hpp"

namespace nimbrel {

int reportCommand(int count, const char* const* arguments) {
  const std::optional<ReportOptions> options = ReportOptions::parse(count, arguments);
  if (!options.has_value()) {
    return 0;
  }
  // Before the run, which may take an hour: a file that cannot be written is known now.
  std::optional<WholeFile> file;
  if (options->page != "-") {
    file.emplace(options->page, options->force);
  }
  int status = 0;
  if (options->isScenario()) {
    Output output(STDOUT_FILENO);
    ScenarioReport(*options).write(file.has_value() ? file->output() : output);
  } else {
    status = run(*options, true, [&](MainQueue& queue, Output& output, Output& errors) {
      return std::make_unique<ReportSession>(*options, queue,
                                             file.has_value() ? file->output() : output, errors);
    });
  }
  if (file.has_value()) {
    file->keep();
  }
  return status;
}

}  // namespace nimbrel
