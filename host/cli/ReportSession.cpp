#include "host/cli/ReportSession.hpp"

namespace nimbrel {

ReportSession::ReportSession(const ReportOptions& options, MainQueue& queue, Output& output,
                             Output& errors)
    : FindingsSession(options, options.quiet, false, queue, errors),
      options_(options),
      output_(output),
      keeper_(options) {}

void ReportSession::start() {
  hasStarted_ = true;
  keeper_.start(phone());
  FindingsSession::start();
}

void ReportSession::clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) {
  FindingsSession::clockJumped(before, after);
  keeper_.clockJumped({before, after}, elapsed());
}

void ReportSession::requested(const Request& request) {
  FindingsSession::requested(request);
  keeper_.lanes().requested(request, elapsed());
}

void ReportSession::authorizationChanged(CLAuthorizationStatus status) {
  keeper_.lanes().authorizationChanged(status, elapsed());
}

void ReportSession::bluetoothChanged(CBManagerState state) {
  // An adapter tells its state before the run starts.
  if (hasStarted_) {
    keeper_.lanes().bluetoothChanged(state, elapsed());
  }
}

void ReportSession::crossed(const CLRegion& region, bool isInside) {
  keeper_.lanes().crossed(region, isInside, elapsed());
}

void ReportSession::monitoringFailed(const CLRegion* region) {
  keeper_.lanes().monitoringFailed(region, elapsed());
}

void ReportSession::settled(std::size_t device, const Advertisement& advertisement) {
  keeper_.heard(device, elapsed(), advertisement.rssi);
}

void ReportSession::detected(std::optional<std::size_t> device, const EncodableMap& event) {
  keeper_.detected(device, elapsed(), event);
}

void ReportSession::conclude(std::uint64_t damagedPackets) {
  damagedPackets_ = damagedPackets;
  FindingsSession::conclude(damagedPackets);
}

void ReportSession::tell() {
  keeper_.write(findings(), elapsed(), options_.live ? "live" : "recording", damagedPackets_,
                output_);
}

}  // namespace nimbrel
