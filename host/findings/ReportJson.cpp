#include "host/findings/ReportJson.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <span>
#include <tuple>

#include "Classes/model/DetectionEvent.hpp"
#include "host/findings/FindingsJson.hpp"
#include "host/findings/JsonMembers.hpp"
#include "host/findings/Reasons.hpp"

namespace nimbrel {

namespace {

// What a browser opens at once, as a file of less than 3 MB.
constexpr std::size_t kDevicesAtMost = 1000;
constexpr std::size_t kBytesOfDevicesAtMost = 1'000'000;
constexpr std::size_t kBeaconsAtMost = 1000;
constexpr std::size_t kSeriesAtMost = 100;
constexpr std::size_t kCellsAtMost = 40'000;

double seconds(MainQueue::Time time) { return std::chrono::duration<double>(time).count(); }

struct RankedDevice {
  std::size_t place;
  Rank rank;
  bool isBeacon;
  std::uint64_t heard;
};

/// The devices that matter most first: what was missed, what was detected, and beacons before
/// others.
std::vector<RankedDevice> byRank(const Findings& findings) {
  std::vector<RankedDevice> devices;
  devices.reserve(findings.devices().size());
  for (const FoundDevice& device : findings.devices()) {
    devices.push_back(
        {devices.size(), rankOf(findings, device), !device.frames.empty(), device.heard});
  }
  std::ranges::stable_sort(devices, [](const RankedDevice& left, const RankedDevice& right) {
    return std::tuple(left.rank, !left.isBeacon, right.heard) <
           std::tuple(right.rank, !right.isBeacon, left.heard);
  });
  return devices;
}

std::size_t count(std::span<const RankedDevice> devices, Rank rank) {
  return static_cast<std::size_t>(std::ranges::count(devices, rank, &RankedDevice::rank));
}

/// The result in one sentence.
std::string headline(const Findings& findings) {
  const auto isBeacon = [](const FoundDevice& device) { return !device.frames.empty(); };
  const auto isDetected = [](const FoundDevice& device) { return device.count(Fate::event) > 0; };
  const auto hasEvents = [](const FoundFilter& filter) { return filter.events > 0; };
  const auto number = [](auto found) { return static_cast<std::uint64_t>(found); };
  const auto& devices = findings.devices();
  std::string text = counted(devices.size(), "device") + ", " +
                     counted(number(std::ranges::count_if(devices, isBeacon)), "beacon") + "; ";
  if (findings.isGeneric()) {
    text += counted(number(std::ranges::count_if(devices, isDetected)), "device") + " detected";
  } else {
    text += std::to_string(std::ranges::count_if(findings.filters(), hasEvents)) + " of " +
            counted(findings.filters().size(), "filter") + " heard something";
  }
  return text;
}

void addSource(Members& object, const Report& report) {
  std::string& out = object.value("source");
  Members source(out);
  source.text("kind", report.kind);
  source.array("files", report.files,
               [&out](const std::string& file) { appendJson(out, std::string_view(file)); });
  source.text("command", report.command);
  source.reading("begin", report.begin);
  source.text("zone", report.clock.zone(report.begin));
  source.number("offset", report.clock.offset(report.begin).count());
  source.count("damagedPackets", report.damagedPackets);
  source.array("jumps", report.jumps, [&out](const Report::Jump& each) {
    Members jump(out);
    appendJson(jump.value("at"), seconds(each.at));
    jump.reading("before", each.clock.before);
    jump.reading("after", each.clock.after);
  });
}

/// Writes devices until there are enough of them. Returns how many.
std::size_t addDevices(Members& object, const Findings& findings,
                       std::span<const RankedDevice> devices) {
  std::string& out = object.value("devices");
  out.push_back('[');
  const std::size_t begin = out.size();
  std::size_t written = 0;
  while (written < std::min(devices.size(), kDevicesAtMost) &&
         out.size() - begin < kBytesOfDevicesAtMost) {
    if (written > 0) {
      out.append(",\n");
    }
    appendDeviceJson(out, findings, findings.devices()[devices[written].place]);
    ++written;
  }
  out.push_back(']');
  return written;
}

/// What was not written, by chief reason, the most frequent one first.
void addRest(Members& object, const Findings& findings, std::span<const RankedDevice> devices) {
  std::map<std::string_view, std::uint64_t> topics;
  std::uint64_t heard = 0;
  for (const RankedDevice& each : devices) {
    heard += each.heard;
    const auto reasons = each.rank == Rank::detected
                             ? std::vector<Reason>{{"detected", {}}}
                             : reasonsFor(findings, findings.devices()[each.place]);
    ++topics[reasons.empty() ? "nothing to say" : reasons.front().topic];
  }
  std::vector<std::pair<std::string_view, std::uint64_t>> ordered(topics.begin(), topics.end());
  std::ranges::stable_sort(ordered, std::greater<>(), [](const auto& each) { return each.second; });
  std::string& out = object.value("rest");
  Members rest(out);
  rest.count("devices", devices.size());
  rest.count("heard", heard);
  rest.array("topics", ordered, [&out](const auto& each) {
    Members topic(out);
    topic.text("topic", each.first);
    topic.count("devices", each.second);
  });
}

/// Numbers in brackets, with no more digits than a plot can show.
class Row {
 public:
  explicit Row(std::string& out) : out_(out) { out_.push_back('['); }
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;
  ~Row() { out_.push_back(']'); }

  void number(std::int64_t number) { appendJson(separated(), number); }
  void number(double number) {
    constexpr double kDigits = 1000.0;
    appendJson(separated(), std::round(number * kDigits) / kDigits);
  }
  void null() { separated().append("null"); }

 private:
  std::string& separated() {
    if (!isFirst_) {
      out_.push_back(',');
    }
    isFirst_ = false;
    return out_;
  }

  std::string& out_;
  bool isFirst_ = true;
};

void appendReadings(std::string& out, const Series::Readings& readings) {
  Row row(out);
  row.number(std::int64_t{readings.cell});
  row.number(std::int64_t{readings.least});
  if (readings.count > 1) {
    row.number(readings.mean());
    row.number(std::int64_t{readings.most});
    row.number(std::int64_t{readings.count});
  }
}

void appendDetections(std::string& out, const Series::Detections& detections) {
  Row row(out);
  row.number(std::int64_t{detections.cell});
  const std::uint32_t strong = detections.count - detections.silent;
  if (strong > 0) {
    row.number(detections.rssiSum / strong);
  } else {
    row.null();
  }
  if (detections.placed > 0) {
    row.number(detections.distanceSum / detections.placed);
  } else {
    row.null();
  }
  if (detections.count > 1) {
    if (detections.placed > 0) {
      row.number(detections.nearest);
      row.number(detections.farthest);
    } else {
      row.null();
      row.null();
    }
    row.number(std::int64_t{detections.count});
    row.number(std::int64_t{detections.silent});
  }
}

/// The series of those of `devices`, which are written already, that a plot shows.
void addSeries(Members& object, const Report& report, std::span<const RankedDevice> devices) {
  std::vector<std::size_t> places;
  std::vector<std::size_t> indices;
  std::size_t leftOut = 0;
  for (std::size_t index = 0; index < devices.size(); ++index) {
    if (devices[index].rank == Rank::other && !devices[index].isBeacon) {
      continue;
    }
    if (places.size() == kSeriesAtMost) {
      ++leftOut;
      continue;
    }
    places.push_back(devices[index].place);
    indices.push_back(index);
  }
  report.series.sumUp(places, kCellsAtMost);

  appendJson(object.value("step"), seconds(report.series.step()));
  object.count("seriesLeftOut", leftOut);
  std::string& out = object.value("series");
  out.push_back('[');
  for (std::size_t index = 0; index < places.size(); ++index) {
    out.append(index > 0 ? ",\n" : "");
    const Series::Track& track = report.series.of(places[index]);
    Members series(out);
    series.count("device", indices[index]);
    series.array("readings", track.readings,
                 [&out](const auto& each) { appendReadings(out, each); });
    series.array("detections", track.detections,
                 [&out](const auto& each) { appendDetections(out, each); });
  }
  out.push_back(']');
}

void addLanes(Members& object, const Lanes& lanes) {
  std::string& out = object.value("lanes");
  out.push_back('[');
  bool isFirst = true;
  for (const Lanes::Lane& each : lanes.all()) {
    out.append(isFirst ? "" : ",\n");
    isFirst = false;
    Members lane(out);
    lane.text("kind", each.kind);
    lane.text("name", each.name);
    lane.array("stretches", each.stretches, [&out](const Lanes::Stretch& stretch) {
      Members written(out);
      written.text("state", stretch.state);
      appendJson(written.value("from"), seconds(stretch.from));
      appendJson(written.value("to"), seconds(stretch.to));
    });
    lane.count("leftOut", each.leftOut);
  }
  out.push_back(']');
}

}  // namespace

void appendReportJson(std::string& out, const Report& report) {
  const Findings& findings = report.findings;
  const std::vector<RankedDevice> ranked = byRank(findings);
  {
    Members object(out);
    object.text("headline", headline(findings));
    addSource(object, report);
    addRun(object, findings, kBeaconsAtMost);
    const std::size_t beacons = findings.beacons().size();
    object.count("beaconsLeftOut", beacons - std::min(beacons, kBeaconsAtMost));
    object.array("bounds", std::array{kNearFrom, kFarFrom},
                 [&out](double bound) { appendJson(out, bound); });
    const std::size_t written = addDevices(object, findings, ranked);
    const std::span<const RankedDevice> listed = std::span(ranked).first(written);
    object.count("missed", count(listed, Rank::missed));
    object.count("detected", count(listed, Rank::detected));
    addRest(object, findings, std::span(ranked).subspan(written));
    addSeries(object, report, listed);
    addLanes(object, report.lanes);
  }
  out.push_back('\n');
}

}  // namespace nimbrel
