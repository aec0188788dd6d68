#pragma once

#include <cstdint>

#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// Decides what to do about an adapter that hears nothing. A daemon under load can end its
/// discovery without notice, but a place may also have no devices. What was heard before tells the
/// two apart.
class SilenceWatch {
 public:
  enum class Step {
    none,
    /// Silence after a busy minute: restart the discovery.
    restart,
    /// Still silent after that: tell the user to restart the daemon.
    advise,
    /// Nothing was heard for a minute: ask the user about the beacon. Once for each watch.
    ask
  };

  void heard(MainQueue::Time now);

  /// Starts over: the adapter discovers again from `now` on.
  void reset(MainQueue::Time now);

  /// Returns what to do at `now`, each step once for each silence. Call it once a second.
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
