#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "host/air/BluezAdapter.hpp"
#include "host/air/BtSnoopWriter.hpp"
#include "host/cli/Output.hpp"
#include "host/cli/ScanOptions.hpp"
#include "host/cli/ScanSession.hpp"
#include "host/phone/MainQueue.hpp"

namespace nimbrel {

/// Lets a phone hear what an adapter of this machine hears, in real time.
class LiveScan final : private AdapterObserver {
 public:
  /// Starts to listen. Throws InputError where there is no adapter to listen with, or no file to
  /// record in. The queue runs in real time; all of them outlive the scan.
  LiveScan(const ScanOptions& options, MainQueue& queue, Output& output, Output& errors);

  /// Runs to the end of the time asked for, or until the queue is stopped.
  void run();

 private:
  void heard(const Advertisement& advertisement) override;
  void changed(CBManagerState state) override;
  void noted(const std::string& line) override;

  void watchForSilence(MainQueue::Time due);
  void keepOnDisk();

  const ScanOptions& options_;
  MainQueue& queue_;
  ScanSession session_;
  BluezAdapter adapter_;
  std::optional<BtSnoopWriter> recording_;
  MainQueue::Time lastHeard_{};
};

}  // namespace nimbrel
