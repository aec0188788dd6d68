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
  Members source(object.value("source"));
  source.text("kind", report.kind);
  source.texts("files", report.files);
  source.text("command", report.command);
  source.reading("begin", report.begin);
  source.text("zone", report.clock.zone(report.begin));
  source.integer("offset", report.clock.offset(report.begin).count());
  source.integer("damagedPackets", report.damagedPackets);
  source.array("jumps", report.jumps, [](JsonWriter& json, const Report::Jump& each) {
    Members jump(json);
    jump.real("at", seconds(each.at));
    jump.reading("before", each.clock.before);
    jump.reading("after", each.clock.after);
  });
}

/// Writes devices until there are enough of them. Returns how many.
std::size_t addDevices(Members& object, const Findings& findings,
                       std::span<const RankedDevice> devices) {
  JsonWriter& json = object.value("devices");
  json.put('[');
  const std::size_t begin = json.size();
  std::size_t written = 0;
  while (written < std::min(devices.size(), kDevicesAtMost) &&
         json.size() - begin < kBytesOfDevicesAtMost) {
    if (written > 0) {
      json.put(",\n");
    }
    writeDevice(json, findings, findings.devices()[devices[written].place]);
    ++written;
  }
  json.put(']');
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
  Members rest(object.value("rest"));
  rest.integer("devices", devices.size());
  rest.integer("heard", heard);
  rest.array("topics", ordered, [](JsonWriter& json, const auto& each) {
    Members topic(json);
    topic.text("topic", each.first);
    topic.integer("devices", each.second);
  });
}

/// Numbers in brackets, with no more digits than a plot can show.
class Row {
 public:
  explicit Row(JsonWriter& json) : json_(json) { json_.put('['); }
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;
  ~Row() { json_.put(']'); }

  void number(std::int64_t number) { separated().integer(number); }
  void number(double number) {
    constexpr double kDigits = 1000.0;
    separated().real(std::round(number * kDigits) / kDigits);
  }
  void null() { separated().null(); }

 private:
  JsonWriter& separated() {
    if (!isFirst_) {
      json_.put(',');
    }
    isFirst_ = false;
    return json_;
  }

  JsonWriter& json_;
  bool isFirst_ = true;
};

void writeReadings(JsonWriter& json, const Series::Readings& readings) {
  Row row(json);
  row.number(std::int64_t{readings.cell});
  row.number(std::int64_t{readings.least});
  if (readings.count > 1) {
    row.number(readings.mean());
    row.number(std::int64_t{readings.most});
    row.number(std::int64_t{readings.count});
  }
}

void writeDetections(JsonWriter& json, const Series::Detections& detections) {
  Row row(json);
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

  object.real("step", seconds(report.series.step()));
  object.integer("seriesLeftOut", leftOut);
  JsonWriter& json = object.value("series");
  json.put('[');
  for (std::size_t index = 0; index < places.size(); ++index) {
    json.put(index > 0 ? ",\n" : "");
    const Series::Track& track = report.series.of(places[index]);
    Members series(json);
    series.integer("device", indices[index]);
    series.array("readings", track.readings, writeReadings);
    series.array("detections", track.detections, writeDetections);
  }
  json.put(']');
}

void writeStretch(JsonWriter& json, const Lanes::Stretch& stretch) {
  Members written(json);
  written.text("state", stretch.state);
  written.real("from", seconds(stretch.from));
  written.real("to", seconds(stretch.to));
}

void addLanes(Members& object, const Lanes& lanes) {
  JsonWriter& json = object.value("lanes");
  json.put('[');
  bool isFirst = true;
  for (const Lanes::Lane& each : lanes.all()) {
    json.put(isFirst ? "" : ",\n");
    isFirst = false;
    Members lane(json);
    lane.text("kind", each.kind);
    lane.text("name", each.name);
    lane.array("stretches", each.stretches, writeStretch);
    lane.integer("leftOut", each.leftOut);
  }
  json.put(']');
}

}  // namespace

void appendReportJson(std::string& out, const Report& report) {
  JsonWriter document(out);
  const Findings& findings = report.findings;
  const std::vector<RankedDevice> ranked = byRank(findings);
  {
    Members object(document);
    object.text("headline", headline(findings));
    addSource(object, report);
    addRun(object, findings, kBeaconsAtMost);
    const std::size_t beacons = findings.beacons().size();
    object.integer("beaconsLeftOut", beacons - std::min(beacons, kBeaconsAtMost));
    object.array("bounds", std::array{kNearFrom, kFarFrom},
                 [](JsonWriter& json, double bound) { json.real(bound); });
    const std::size_t written = addDevices(object, findings, ranked);
    const std::span<const RankedDevice> listed = std::span(ranked).first(written);
    object.integer("missed", count(listed, Rank::missed));
    object.integer("detected", count(listed, Rank::detected));
    addRest(object, findings, std::span(ranked).subspan(written));
    addSeries(object, report, listed);
    addLanes(object, report.lanes);
  }
  document.put('\n');
}

}  // namespace nimbrel
