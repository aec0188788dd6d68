#pragma once

#include <optional>

#include "host/air/Recordings.hpp"
#include "host/air/Timeline.hpp"
#include "host/base/MainQueue.hpp"
#include "host/cli/Session.hpp"
#include "host/terminal/Progress.hpp"

namespace nimbrel {

/// Plays recordings to a phone: the queue's time and the wall clock follow the records.
class Replay {
 public:
  /// REQUIRES: all arguments outlive the replay, and nothing was read from `recordings`.
  Replay(std::optional<MainQueue::Time> duration, Recordings& recordings, MainQueue& queue,
         Session& session, Progress& progress);

  /// Runs to one second after the end of the recordings, so that the last ranging report is made,
  /// or to the end of the time asked for, or until the queue is stopped.
  void run();

 private:
  void passTimeUntil(std::chrono::microseconds recorded);

  Recordings& recordings_;
  MainQueue& queue_;
  Session& session_;
  Progress& progress_;
  MainQueue::Time end_;
  Timeline timeline_;
};

}  // namespace nimbrel
