#include "host/cli/ReportKeeper.hpp"

#include <cmath>

#include "Classes/model/EncodableAccess.hpp"
#include "host/findings/page/Page.hpp"

namespace nimbrel {

std::chrono::microseconds ReportKeeper::clockOf(const Phone& phone) {
  return std::chrono::microseconds(std::llround(phone.timeIntervalSince1970() * 1e6));
}

void ReportKeeper::start(Phone& phone) {
  begin_ = clockOf(phone);
  lanes_.bluetoothChanged(phone.bluetooth().state(), Time(0));
  lanes_.authorizationChanged(phone.location().authorization(), Time(0));
}

void ReportKeeper::detected(std::optional<std::size_t> device, Time at, const EncodableMap& event) {
  if (device.has_value()) {
    series_.detected(*device, at, *valueFor<double>(event, "rssi"),
                     *valueFor<double>(event, "distance"));
  }
}

void ReportKeeper::write(const Findings& findings, Time end, std::string_view kind,
                         std::uint64_t damagedPackets, Output& output) {
  lanes_.end(end);
  Report report{findings,
                series_,
                lanes_,
                kind,
                options_.captures,
                options_.command(),
                begin_,
                WallClock(options_.utc),
                jumps_,
                damagedPackets};
  if (!options_.live && report.files.empty()) {
    report.files.emplace_back("the bundled recording");
  }
  if (options_.json) {
    appendReportJson(output.buffer(), report);
  } else {
    std::string json;
    appendReportJson(json, report);
    appendPage(output.buffer(), json);
  }
  output.flush();
}

}  // namespace nimbrel
