#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/base/MainQueue.hpp"
#include "host/bluez/BluezAdapter.hpp"
#include "host/cli/Recording.hpp"
#include "host/cli/Session.hpp"
#include "host/cli/SharedOptions.hpp"

namespace nimbrel {

/// Lets a session's phone hear what an adapter of this machine hears, in real time.
class LiveScan final : private AdapterObserver {
 public:
  /// Returns the time since 1970.
  using MachineClock = std::function<MainQueue::Time()>;

  /// Throws InputError if there is no system bus. REQUIRES: the queue runs in real time, and all
  /// arguments outlive the scan.
  LiveScan(const RunOptions& options, MainQueue& queue, Session& session,
           MachineClock machineClock = readMachineClock);

  /// Runs to the end of the time asked for, or until the queue is stopped. Returns the exit status:
  /// 1 if the scan did not start or its recording ended early. Throws InputError if there is no
  /// adapter to listen with, or no file to record in.
  int run();

  /// The wall clock of this machine.
  static MainQueue::Time readMachineClock();

 private:
  void listening() override;
  void heard(const Advertisement& advertisement) override;
  void changed(CBManagerState state) override;
  void noted(const std::string& line) override;

  void followClock();
  void keepOnDisk();
  /// Runs `action` on the recording, and ends the recording if that fails.
  void record(const std::function<void(Recording&)>& action);
  void everySecond(const std::function<void()>& task);

  const RunOptions& options_;
  MainQueue& queue_;
  Session& session_;
  MachineClock machineClock_;
  MainQueue::Time origin_{};  // The wall clock at the queue's time 0.
  BluezAdapter adapter_;
  bool isListening_ = false;
  std::optional<Recording> recording_;
  bool hasRecordingFailed_ = false;
};

}  // namespace nimbrel
