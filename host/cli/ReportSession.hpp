#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "host/base/Output.hpp"
#include "host/cli/FindingsSession.hpp"
#include "host/cli/ReportOptions.hpp"
#include "host/findings/Lanes.hpp"
#include "host/findings/ReportJson.hpp"
#include "host/findings/Series.hpp"

namespace nimbrel {

/// The application of `nimbrel report`: it keeps what happened when, and writes the report in the
/// end.
class ReportSession final : public FindingsSession {
 public:
  /// All of them outlive the session.
  ReportSession(const ReportOptions& options, MainQueue& queue, Output& output, Output& errors);

  void start() override;
  void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) override;
  void conclude(std::uint64_t damagedPackets) override;

  void requested(const Request& request) override;
  void authorizationChanged(CLAuthorizationStatus status) override;
  void bluetoothChanged(CBManagerState state) override;
  void crossed(const CLRegion& region, bool isInside) override;
  void monitoringFailed(const CLRegion* region) override;

 private:
  void settled(std::size_t device, const Advertisement& advertisement) override;
  void detected(std::optional<std::size_t> device, const EncodableMap& event) override;
  void tell() override;

  const ReportOptions& options_;
  Output& output_;
  Series series_;
  Lanes lanes_;
  bool hasStarted_ = false;
  std::chrono::microseconds begin_{};
  std::vector<Report::Jump> jumps_;
  std::uint64_t damagedPackets_ = 0;
};

}  // namespace nimbrel
