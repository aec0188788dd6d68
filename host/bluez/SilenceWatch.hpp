#pragma once

#include <cstdint>

#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// Decides what to do about an adapter that hears nothing. A daemon under load can end its
/// discovery without saying so; a lonely place is quiet, too. The two differ in what was heard
/// before.
class SilenceWatch {
 public:
  enum class Step {
    none,
    /// A busy minute is followed by silence: start the discovery anew.
    restart,
    /// The silence goes on after that: tell the user to restart the daemon.
    advise,
    /// Nothing was heard for a minute: ask the user about the beacon. Once for each watch.
    ask
  };

  void heard(MainQueue::Time now);

  /// Begins anew: the adapter hears again since `now`.
  void reset(MainQueue::Time now);

  /// Returns what is to be done at `now`, each step once for each silence. Call it once a second.
  Step check(MainQueue::Time now);

 private:
  [[nodiscard]] bool wasBusy() const;

  MainQueue::Time lastHeard_{};
  MainQueue::Time minute_{};          // When the current minute of counting began.
  std::uint64_t reports_ = 0;         // In the current minute.
  std::uint64_t earlierReports_ = 0;  // In the minute before.
  Step last_ = Step::none;            // The last step in this silence.
  bool hasAsked_ = false;
};

}  // namespace nimbrel
