#include "host/cli/ReportSession.hpp"

#include <cmath>

#include "Classes/model/EncodableAccess.hpp"
#include "host/findings/page/Page.hpp"

namespace nimbrel {

ReportSession::ReportSession(const ReportOptions& options, MainQueue& queue, Output& output,
                             Output& errors)
    : FindingsSession(options, options.quiet, false, queue, errors),
      options_(options),
      output_(output) {}

void ReportSession::start() {
  begin_ = std::chrono::microseconds(std::llround(phone().timeIntervalSince1970() * 1e6));
  hasStarted_ = true;
  lanes_.bluetoothChanged(phone().bluetooth().state(), MainQueue::Time(0));
  lanes_.authorizationChanged(phone().location().authorization(), MainQueue::Time(0));
  FindingsSession::start();
}

void ReportSession::clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) {
  FindingsSession::clockJumped(before, after);
  jumps_.push_back({elapsed(), {before, after}});
}

void ReportSession::requested(const Request& request) {
  FindingsSession::requested(request);
  lanes_.requested(request, elapsed());
}

void ReportSession::authorizationChanged(CLAuthorizationStatus status) {
  lanes_.authorizationChanged(status, elapsed());
}

void ReportSession::bluetoothChanged(CBManagerState state) {
  // Before the start the adapter says what it is.
  if (hasStarted_) {
    lanes_.bluetoothChanged(state, elapsed());
  }
}

void ReportSession::crossed(const CLRegion& region, bool isInside) {
  lanes_.crossed(region, isInside, elapsed());
}

void ReportSession::monitoringFailed(const CLRegion* region) {
  lanes_.monitoringFailed(region, elapsed());
}

void ReportSession::settled(std::size_t device, const Advertisement& advertisement) {
  series_.heard(device, elapsed(), advertisement.rssi);
}

void ReportSession::detected(std::optional<std::size_t> device, const EncodableMap& event) {
  if (device.has_value()) {
    series_.detected(*device, elapsed(), *valueFor<double>(event, "rssi"),
                     *valueFor<double>(event, "distance"));
  }
}

void ReportSession::conclude(std::uint64_t damagedPackets) {
  damagedPackets_ = damagedPackets;
  FindingsSession::conclude(damagedPackets);
}

void ReportSession::tell() {
  lanes_.end(elapsed());
  Report report{findings(),
                series_,
                lanes_,
                "recording",
                options_.captures,
                options_.command(),
                begin_,
                WallClock(options_.utc),
                jumps_,
                damagedPackets_};
  if (options_.live) {
    report.kind = "live";
  } else if (report.files.empty()) {
    report.files.emplace_back("the bundled recording");
  }
  if (options_.json) {
    appendReportJson(output_.buffer(), report);
  } else {
    std::string json;
    appendReportJson(json, report);
    appendPage(output_.buffer(), json);
  }
  output_.flush();
}

}  // namespace nimbrel
