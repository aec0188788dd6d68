#pragma once

#include "host/air/Capture.hpp"
#include "host/cli/Progress.hpp"
#include "host/cli/ScanSession.hpp"
#include "host/phone/MainQueue.hpp"

namespace nimbrel {

/// Lets a phone live through a capture: the queue's time and the wall clock follow the records.
class Replay {
 public:
  /// `first` is the first advertisement of `capture`. All of them outlive the replay.
  Replay(const ScanOptions& options, Capture& capture, const Advertisement& first, MainQueue& queue,
         ScanSession& session, Progress& progress);

  /// Runs to the end of the capture and one second beyond, so that the last ranging report is
  /// made, or to the end of the time asked for, or until the queue is stopped.
  void run();

 private:
  void passTimeUntil(std::chrono::microseconds recorded);

  const ScanOptions& options_;
  Capture& capture_;
  const Advertisement* next_;
  MainQueue& queue_;
  ScanSession& session_;
  Progress& progress_;
  std::chrono::microseconds origin_;  // the wall clock at the queue's time 0
};

}  // namespace nimbrel
