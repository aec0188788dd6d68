#include "host/findings/FindingsJson.hpp"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/base/JsonText.hpp"
#include "host/findings/JsonMembers.hpp"
#include "host/findings/Reasons.hpp"
#include "host/phone/BluetoothService.hpp"

namespace nimbrel {

namespace {

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
  members.reading("first", device.first);
  members.reading("last", device.last);
  addStrengths(members, device);
  addFates(members, device);
  if (findings.isGeneric()) {
    members.count("events", device.count(Fate::event));
  }
  members.array("why", reasonsFor(findings, device),
                [&](const Reason& reason) { appendText(reason.sentence); });
  members.array("iphone", onIPhone(findings, device), appendText);
}

void addRun(Members& object, const Findings& findings, std::size_t beaconsAtMost) {
  std::string& out = object.value("run");
  const auto appendText = [&out](std::string_view text) { appendJson(out, text); };
  Members run(out);
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
  const std::size_t beacons = std::min(beaconsAtMost, findings.beacons().size());
  run.array("beacons", std::span(findings.beacons()).first(beacons),
            [&out](const FoundBeacon& each) {
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

void appendRunJson(std::string& out, const Findings& findings) {
  Members line(out);
  addRun(line, findings);
}

}  // namespace nimbrel
