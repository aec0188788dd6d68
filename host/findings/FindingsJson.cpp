#include "host/findings/FindingsJson.hpp"

#include <array>
#include <cstdint>
#include <string_view>

#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/findings/JsonMembers.hpp"
#include "host/findings/Reasons.hpp"
#include "host/phone/BluetoothService.hpp"

namespace nimbrel {

namespace {

void addIdentity(Members& members, const BeaconIdentity& identity) {
  members.plain("uuid", UuidText(identity.uuid));
  members.integer("majorId", identity.major);
  members.integer("minorId", identity.minor);
}

/// The last frame under the device's own keys, and all of them if there are several.
void addFrames(Members& members, const FoundDevice& device) {
  const FoundFrame* last = device.lastFrame();
  if (last == nullptr) {
    constexpr std::array<std::string_view, 5> kKeys = {"frame", "uuid", "majorId", "minorId",
                                                       "txPower"};
    for (const std::string_view key : kKeys) {
      members.null(key);
    }
  } else {
    members.plain("frame", last->isAltBeacon ? "AltBeacon" : "iBeacon");
    addIdentity(members, last->identity);
    members.integer("txPower", last->measuredPower);
  }
  if (device.hasManufacturerData) {
    members.integer("company", device.company);
  } else {
    members.null("company");
  }
  if (std::ranges::distance(device.frames) > 1) {
    members.array("beacons", device.frames, [](JsonWriter& json, const FoundFrame& frame) {
      Members beacon(json);
      addIdentity(beacon, frame.identity);
      beacon.integer("heard", frame.heard);
    });
  }
}

void addStrengths(Members& members, const FoundDevice& device) {
  if (device.rssiReadings == 0) {
    members.null("rssi");
    return;
  }
  Members strengths(members.value("rssi"));
  strengths.integer("min", device.rssiMin);
  strengths.real("mean", device.rssiMean());
  strengths.integer("max", device.rssiMax);
}

void addFates(Members& members, const FoundDevice& device) {
  Members fates(members.value("fates"));
  for (std::size_t index = 0; index < kFates; ++index) {
    const auto fate = static_cast<Fate>(index);
    if (device.count(fate) > 0) {
      fates.integer(nameOf(fate), device.count(fate));
    }
  }
}

void writeReason(JsonWriter& json, const Reason& reason) { json.text(reason.sentence); }

}  // namespace

void writeDevice(JsonWriter& json, const Findings& findings, const FoundDevice& device) {
  Members members(json);
  members.plain("device", AddressText(device.address));
  members.plain("addressType",
                device.address.type == AddressType::publicAddress ? "public" : "random");
  members.plain("identifier", UuidText(peripheralIdentifier(device.address)));
  if (device.isNamed) {
    members.text("name", device.name);
  } else {
    members.null("name");
  }
  addFrames(members, device);
  members.integer("heard", device.heard);
  members.reading("first", device.first);
  members.reading("last", device.last);
  addStrengths(members, device);
  addFates(members, device);
  if (findings.isGeneric()) {
    members.integer("events", device.count(Fate::event));
  }
  members.array("why", reasonsFor(findings, device), writeReason);
  members.texts("iphone", onIPhone(findings, device));
}

void addRun(Members& object, const Findings& findings, std::size_t beaconsAtMost) {
  Members run(object.value("run"));
  run.plain("mode", findings.isGeneric() ? "generic" : "filter");
  run.integer("advertisements", findings.advertisements());
  run.integer("devices", findings.devices().size());
  run.integer("events", findings.events());
  run.real("seconds", std::chrono::duration<double>(findings.length()).count());
  run.array("filters", findings.filters(), [](JsonWriter& json, const FoundFilter& each) {
    Members filter(json);
    filter.text("filter", filterText(each.map));
    filter.integer("events", each.events);
  });
  const auto writeBeacon = [](JsonWriter& json, const FoundBeacon& each) {
    Members beacon(json);
    addIdentity(beacon, each.identity);
    if (each.identifier != nullptr) {
      beacon.text("identifier", *each.identifier);
    } else {
      beacon.null("identifier");
    }
    beacon.integer("devices", each.devices);
    beacon.integer("heard", each.heard);
    beacon.integer("events", each.events);
    beacon.integer("silent", each.silent);
  };
  run.array("beacons", findings.beacons(), writeBeacon, beaconsAtMost);
  // Readings of the clock are in UTC here, as the milliseconds are.
  run.texts("why", reasonsForRun(findings, WallClock(true)));
}

void writeRun(JsonWriter& json, const Findings& findings) {
  Members line(json);
  addRun(line, findings);
}

}  // namespace nimbrel
