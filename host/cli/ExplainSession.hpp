#pragma once

#include <functional>

#include "host/base/Output.hpp"
#include "host/base/WallClock.hpp"
#include "host/cli/ExplainOptions.hpp"
#include "host/cli/FindingsSession.hpp"

namespace nimbrel {

/// The application of `nimbrel explain`: it keeps what became of each advertisement, and says so in
/// the end.
class ExplainSession final : public FindingsSession {
 public:
  /// REQUIRES: all arguments outlive the session.
  ExplainSession(const ExplainOptions& options, MainQueue& queue, Output& output, Output& errors);

  void start() override;

 private:
  /// Writes the findings. Throws InputError if the device asked for was not heard.
  void tell() override;

  /// Calls `tell` for each device that the options ask for. Throws InputError if the only one asked
  /// for was not heard.
  void forEachAskedFor(const std::function<void(const FoundDevice&)>& tell) const;
  void writeJson();
  void writeText();

  const ExplainOptions& options_;
  WallClock clock_;
  Output& output_;
};

}  // namespace nimbrel
