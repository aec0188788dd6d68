#include "host/findings/FindingsJson.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/base/JsonText.hpp"
#include "host/findings/Reasons.hpp"
#include "host/phone/BluetoothService.hpp"

namespace nimbrel {

namespace {

/// Writes the members of one JSON object, which ends with the writer. Text goes straight to the
/// output: a recording may hold a hundred thousand devices.
class Members {
 public:
  explicit Members(std::string& out) : out_(out) { out_.push_back('{'); }
  Members(const Members&) = delete;
  Members& operator=(const Members&) = delete;
  ~Members() { out_.push_back('}'); }

  /// The place for the value of the next member. Keys need no escaping.
  std::string& value(std::string_view key) {
    out_.append(isFirst_ ? "\"" : ",\"").append(key).append("\":");
    isFirst_ = false;
    return out_;
  }

  void text(std::string_view key, std::string_view text) { appendJson(value(key), text); }
  void null(std::string_view key) { value(key).append("null"); }
  void number(std::string_view key, std::int64_t number) { appendJson(value(key), number); }
  void count(std::string_view key, std::uint64_t count) {
    number(key, static_cast<std::int64_t>(count));
  }

  /// An array, whose elements `append(element)` appends.
  template <typename Elements, typename Append>
  void array(std::string_view key, const Elements& elements, const Append& append) {
    value(key).push_back('[');
    bool isFirst = true;
    for (const auto& element : elements) {
      if (!isFirst) {
        out_.push_back(',');
      }
      isFirst = false;
      append(element);
    }
    out_.push_back(']');
  }

 private:
  std::string& out_;
  bool isFirst_ = true;
};

std::int64_t milliseconds(std::chrono::microseconds reading) {
  return std::chrono::floor<std::chrono::milliseconds>(reading).count();
}

void addIdentity(Members& members, const BeaconIdentity& identity) {
  members.text("uuid", UuidText(identity.uuid));
  members.number("majorId", identity.major);
  members.number("minorId", identity.minor);
}

/// The last frame under the device's own keys, and all of them if there are several.
void addFrames(Members& members, std::string& out, const FoundDevice& device) {
  if (device.frames.empty()) {
    for (const char* key : {"frame", "uuid", "majorId", "minorId", "txPower"}) {
      members.null(key);
    }
  } else {
    const FoundFrame& last = device.frames[device.lastFrame];
    members.text("frame", last.isAltBeacon ? "AltBeacon" : "iBeacon");
    addIdentity(members, last.identity);
    members.number("txPower", last.measuredPower);
  }
  if (device.hasManufacturerData) {
    members.number("company", device.company);
  } else {
    members.null("company");
  }
  if (device.frames.size() > 1) {
    members.array("beacons", device.frames, [&out](const FoundFrame& frame) {
      Members beacon(out);
      addIdentity(beacon, frame.identity);
      beacon.count("heard", frame.heard);
    });
  }
}

void addStrengths(Members& members, const FoundDevice& device) {
  if (device.rssiReadings == 0) {
    members.null("rssi");
    return;
  }
  Members strengths(members.value("rssi"));
  strengths.number("min", device.rssiMin);
  appendJson(strengths.value("mean"), device.rssiMean());
  strengths.number("max", device.rssiMax);
}

void addFates(Members& members, const FoundDevice& device) {
  Members fates(members.value("fates"));
  for (std::size_t index = 0; index < kFates; ++index) {
    const auto fate = static_cast<Fate>(index);
    if (device.count(fate) > 0) {
      fates.count(nameOf(fate), device.count(fate));
    }
  }
}

}  // namespace

void appendDeviceJson(std::string& out, const Findings& findings, const FoundDevice& device) {
  const auto appendText = [&out](std::string_view text) { appendJson(out, text); };
  Members members(out);
  members.text("device", addressText(device.address));
  members.text("addressType",
               device.address.type == AddressType::publicAddress ? "public" : "random");
  members.text("identifier", UuidText(peripheralIdentifier(device.address)));
  if (device.isNamed) {
    members.text("name", device.name);
  } else {
    members.null("name");
  }
  addFrames(members, out, device);
  members.count("heard", device.heard);
  members.number("first", milliseconds(device.first));
  members.number("last", milliseconds(device.last));
  addStrengths(members, device);
  addFates(members, device);
  if (findings.isGeneric()) {
    members.count("events", device.count(Fate::event));
  }
  members.array("why", reasonsFor(findings, device),
                [&](const Reason& reason) { appendText(reason.sentence); });
  members.array("iphone", onIPhone(findings, device), appendText);
}

void appendRunJson(std::string& out, const Findings& findings) {
  const auto appendText = [&out](std::string_view text) { appendJson(out, text); };
  Members line(out);
  Members run(line.value("run"));
  run.text("mode", findings.isGeneric() ? "generic" : "filter");
  run.count("advertisements", findings.advertisements());
  run.count("devices", findings.devices().size());
  run.count("events", findings.events());
  appendJson(run.value("seconds"), std::chrono::duration<double>(findings.length()).count());
  run.array("filters", findings.filters(), [&out](const FoundFilter& each) {
    Members filter(out);
    filter.text("filter", filterText(each.map));
    filter.count("events", each.events);
  });
  run.array("beacons", findings.beacons(), [&out](const FoundBeacon& each) {
    Members beacon(out);
    addIdentity(beacon, each.identity);
    if (each.identifier.has_value()) {
      beacon.text("identifier", *each.identifier);
    } else {
      beacon.null("identifier");
    }
    beacon.count("devices", each.devices);
    beacon.count("heard", each.heard);
    beacon.count("events", each.events);
    beacon.count("silent", each.silent);
  });
  // Readings of the clock are in UTC here, as the milliseconds are.
  run.array("why", reasonsForRun(findings, WallClock(true)), appendText);
}

}  // namespace nimbrel
