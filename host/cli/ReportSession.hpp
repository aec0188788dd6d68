#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "host/base/Output.hpp"
#include "host/cli/FindingsSession.hpp"
#include "host/cli/ReportKeeper.hpp"
#include "host/cli/ReportOptions.hpp"

namespace nimbrel {

/// The application of `nimbrel report`: it keeps what happened when, and writes the report at the
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
  ReportKeeper keeper_;
  bool hasStarted_ = false;
  std::uint64_t damagedPackets_ = 0;
};

}  // namespace nimbrel
