#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/base/MainQueue.hpp"
#include "host/base/Output.hpp"
#include "host/scenario/StageObserver.hpp"

namespace nimbrel {

/// Writes what happens as JSON Lines, each with the time at which it happened.
class Transcript final : public StageObserver {
 public:
  /// REQUIRES: both outlive the transcript.
  Transcript(const MainQueue& queue, Output& output) : queue_(queue), output_(output) {}

  void logged(std::string_view line) override;
  void requested(const Request& request) override;
  void replied(const Application::Reply& reply) override;
  void received(const EncodableValue& event) override;

  // Lines of a desk only

  /// The step on that line of the input was played, with all that followed from it.
  void done(std::size_t line);
  /// That line of the input cannot be played.
  void refused(std::size_t line, std::string_view problem);
  /// The recording is over.
  void airEnded();

 private:
  void begin(std::string_view kind);
  void end() { output_.writeLine("}"); }
  void appendMonitoring(const CLBeaconRegion& region);
  void appendScan(const Request::Scan& scan);

  const MainQueue& queue_;
  Output& output_;
};

}  // namespace nimbrel
