#include "host/findings/Reasons.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <utility>

#include "Classes/bluetooth/Admission.hpp"
#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/findings/UuidDifference.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

std::string joined(std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const std::string_view part : parts) {
    size += part.size();
  }
  std::string text;
  text.reserve(size);
  for (const std::string_view part : parts) {
    text.append(part);
  }
  return text;
}

std::string text(const UUID& uuid) { return std::string(std::string_view(UuidText(uuid))); }

std::string numbers(const BeaconIdentity& identity) {
  return std::to_string(identity.major) + "/" + std::to_string(identity.minor);
}

std::string numbered(const BeaconIdentity& identity) {
  return joined({UuidText(identity.uuid), "/", numbers(identity)});
}

std::string seconds(MainQueue::Time time) {
  std::array<char, 40> digits{};
  const int size = std::snprintf(digits.data(), digits.size(), "%.1f s",
                                 std::chrono::duration<double>(time).count());
  return {digits.data(), static_cast<std::size_t>(size)};
}

std::string hexCompany(std::uint16_t company) {
  std::string digits(4, '0');
  appendHexByte(appendHexByte(digits.data(), static_cast<std::uint8_t>(company >> 8U)),
                static_cast<std::uint8_t>(company & 0xFFU));
  return "0x" + digits;
}

/// "a, b and c"
template <typename Texts>
std::string listed(const Texts& texts, std::string_view last = "and") {
  std::string list;
  std::size_t index = 0;
  for (const auto& each : texts) {
    if (index > 0) {
      list.append(index + 1 == texts.size() ? std::string(" ").append(last).append(" ") : ", ");
    }
    list += each;
    ++index;
  }
  return list;
}

const FoundFrame* frameOfKind(const FoundDevice& device, bool isAltBeacon) {
  const auto isOfKind = [=](const FoundFrame& each) { return each.isAltBeacon == isAltBeacon; };
  const auto place = std::ranges::find_if(device.frames, isOfKind);
  return place == device.frames.end() ? nullptr : &*place;
}

/// The filter's numbers, "1/2", "1/any".
std::string numbers(const BeaconFilter& filter) {
  const auto number = [](std::int64_t value) {
    return value == BeaconFilter::kAny ? std::string("any") : std::to_string(value);
  };
  return number(filter.majorId()) + "/" + number(filter.minorId());
}

std::uint16_t bytesSwapped(std::uint16_t number) {
  return static_cast<std::uint16_t>(number << 8U | number >> 8U);
}

/// What numbers on the air have to do with those that a filter asks for; empty for nothing.
std::string numbersDifference(const BeaconFilter& filter, const BeaconIdentity& heard) {
  const UuidText uuid(heard.uuid);
  if (filter.accepts(uuid, heard.minor, heard.major)) {
    return "major and minor are swapped";
  }
  if (filter.accepts(uuid, bytesSwapped(heard.major), bytesSwapped(heard.minor))) {
    return "the two bytes of each number are swapped";
  }
  return {};
}

// One device

/// Those that say beacon, "a, b or c".
std::string_view nameWords() {
  static const std::string kWords = listed(kNameWords, "or");
  return kWords;
}

std::string nameClause(const FoundDevice& device) {
  return device.name.empty()
             ? "it has no name"
             : joined({"its name, \"", device.name, "\", has none of the words ", nameWords()});
}

Reason notAdmitted(const FoundDevice& device) {
  constexpr std::string_view kRemedy =
      ". Generic mode detects devices with manufacturer data or such a word in the name: give it "
      "either, or make it an iBeacon and ask for it with a filter.";
  if (device.hasManufacturerData) {
    return {"manufacturer data came later than some advertisements",
            joined({counted(device.count(Fate::notAdmitted), "advertisement"),
                    " came without manufacturer data, and ", nameClause(device), kRemedy})};
  }
  const bool isNamed = !device.name.empty();
  return {"no manufacturer data, and no word in the name that says beacon",
          joined({"It sends no manufacturer data, and ", nameClause(device),
                  isNamed ? "" : " with one of the words ", isNamed ? "" : nameWords(), kRemedy})};
}

Reason misshapen(const FoundDevice& device) {
  const bool isAltBeacon = device.isMisshapenAltBeacon;
  const std::string kind = isAltBeacon ? "an AltBeacon" : "an iBeacon";
  const std::uint16_t due = isAltBeacon ? frames::kAltBeaconCompany : frames::kAppleCompany;
  if (device.misshape == Misshape::tooShort) {
    return {"a beacon frame that is too short",
            "Its manufacturer data begins like " + kind + " frame and ends after " +
                std::to_string(device.misshapenSize) + " bytes of " +
                std::to_string(frames::kSize) +
                ", so that it counts as none. Send the whole frame: company, two bytes of kind, "
                "UUID, major, minor, and the power at one metre in the last byte."};
  }
  return {"a beacon frame under another company",
          "It sends " + kind + " frame under company " + hexCompany(device.company) +
              ", and only one under company " + hexCompany(due) + " is read as " + kind +
              ". Set the company in the beacon's configuration."};
}

Reason withheldFromScan(const FoundDevice& device) {
  const FoundFrame* frame = frameOfKind(device, false);
  return {"iBeacon frames, which this phone withholds from Bluetooth scans",
          counted(device.count(Fate::withheld), "advertisement") +
              " carried an iBeacon frame, which an iPhone withholds from Bluetooth scans. Ask for "
              "the beacon with a filter: --filter " +
              (frame == nullptr ? "UUID" : numbered(frame->identity)) + "."};
}

Reason deaf(const Findings& findings, const FoundDevice& device) {
  const std::string head =
      counted(device.count(Fate::deaf), "advertisement") + " met nobody who listened: ";
  const FoundFrame* frame = device.lastFrame();
  if (!findings.isGeneric() && frame != nullptr) {
    const auto& regions = findings.regions();
    const auto own = std::ranges::find(regions, frame->identity.uuid, &CLBeaconRegion::uuid);
    const auto isRival = [&](const CLBeaconRegion& region) {
      return own != regions.end() && region.identifier == own->identifier &&
             region.uuid != own->uuid;
    };
    if (const auto rival = std::ranges::find_if(regions, isRival); rival != regions.end()) {
      return {"the label of its filter is that of another UUID",
              head + "the filters of " + text(own->uuid) + " and of " + text(rival->uuid) +
                  " have the same label, \"" + own->identifier +
                  "\", and of two regions of one name the phone keeps the later one. Give each "
                  "UUID a label of its own."};
    }
  }
  return {"nothing was listening",
          head + "Bluetooth was off, the location permission missing, or no detection running."};
}

void addGeneric(const FoundDevice& device, std::vector<Reason>& reasons) {
  if (device.misshape != Misshape::none) {
    reasons.push_back(misshapen(device));
  }
  if (device.count(Fate::withheld) > 0) {
    reasons.push_back(withheldFromScan(device));
  }
  if (device.count(Fate::notAdmitted) > 0) {
    reasons.push_back(notAdmitted(device));
  }
  if (device.count(Fate::thinned) > 0) {
    reasons.push_back(
        {"thinned out",
         joined({counted(device.count(Fate::thinned), "advertisement"),
                 " came less than 2 s after the last one that the plug-in took in, and less than "
                 "3 dB away from it. The plug-in leaves those out; nothing needs to change."}),
         true});
  }
  if (device.count(Fate::coalesced) > 0) {
    reasons.push_back({"repeats",
                       joined({counted(device.count(Fate::coalesced), "advertisement"),
                               " repeated the same name and manufacturer data within a second. "
                               "The phone hands one a second of those to an application; nothing "
                               "needs to change."}),
                       true});
  }
}

Reason refused(const Findings& findings, const FoundDevice& device) {
  std::vector<std::string> asked;
  std::string difference;
  const FoundFrame* shown = nullptr;
  for (const FoundFrame& frame : device.frames) {
    if (frame.isRanged || frame.isAltBeacon) {
      continue;
    }
    for (const FoundFilter& each : findings.filters()) {
      if (each.uuid == frame.identity.uuid) {
        shown = &frame;
        asked.push_back(numbers(*each.filter));
        if (difference.empty()) {
          difference = numbersDifference(*each.filter, frame.identity);
        }
      }
    }
    if (shown != nullptr) {
      break;
    }
  }
  if (shown == nullptr) {
    return {"numbers that no filter accepts", "No filter accepts its major and minor."};
  }
  return {"numbers that no filter accepts",
          joined({"Its UUID is asked for, but it sends ", numbers(shown->identity),
                  " and the filters ask for ", listed(asked, "or"), difference.empty() ? "" : ": ",
                  difference, ". Ask for --filter ", numbered(shown->identity),
                  ", or set the numbers in the beacon's configuration."})};
}

struct NearFilter {
  const FoundFilter* filter = nullptr;
  UUID uuid;  // on the air
  std::string words;
};

/// The filter whose UUID is nearly that of a frame, and how.
NearFilter nearFilter(const Findings& findings, const FoundDevice& device) {
  for (const FoundFrame& frame : device.frames) {
    for (const FoundFilter& each : findings.filters()) {
      if (each.uuid.has_value()) {
        const std::string difference = uuidDifference(*each.uuid, frame.identity.uuid);
        if (!difference.empty()) {
          return {&each, frame.identity.uuid,
                  joined({"sends ", UuidText(frame.identity.uuid), ", which ", difference, " (",
                          UuidText(*each.uuid), ")"})};
        }
      }
    }
  }
  return {};
}

Reason otherUuid(const Findings& findings, const FoundDevice& device) {
  if (const NearFilter near = nearFilter(findings, device); near.filter != nullptr) {
    return {
        "a UUID that is nearly a filter's",
        joined({"It ", near.words, ". If it is meant, correct the filter or the beacon: --filter ",
                filterText(near.filter->map, near.uuid), "."})};
  }
  const FoundFrame* frame = frameOfKind(device, false);
  if (frame == nullptr) {
    // The device sent more beacons than are kept.
    return {"UUIDs that no filter asks for", "No filter asks for its UUID."};
  }
  const UuidText uuid(frame->identity.uuid);
  return {"UUIDs that no filter asks for", joined({"No filter asks for its UUID, ", uuid,
                                                   ". If it is wanted, add --filter ", uuid, "."})};
}

bool isUuidAsked(const Findings& findings, const UUID& uuid) {
  const auto asksFor = [&](const FoundFilter& each) { return each.uuid == uuid; };
  return std::ranges::any_of(findings.filters(), asksFor);
}

Reason noIBeacon(const Findings& findings, const FoundDevice& device) {
  if (device.misshape != Misshape::none) {
    return misshapen(device);
  }
  if (const FoundFrame* frame = frameOfKind(device, true)) {
    return {"AltBeacon frames, which filter mode does not hear",
            "It sends AltBeacon frames (" + numbered(frame->identity) +
                "), and filter mode hears iBeacons only" +
                (isUuidAsked(findings, frame->identity.uuid) ? ", although a filter has its UUID"
                                                             : "") +
                ". Leave the filters out (generic mode), or make the beacon send iBeacon frames."};
  }
  if (frameOfKind(device, false) != nullptr) {
    return {"other advertisements between the iBeacon frames",
            counted(device.count(Fate::noIBeacon), "advertisement") +
                " carried no iBeacon frame (other data, or a scan response); nothing needs to "
                "change.",
            true};
  }
  return {"no iBeacon frame, the only thing that filter mode hears",
          "It sends no iBeacon frame, and filter mode hears nothing else. Leave the filters out "
          "(generic mode) to detect it."};
}

void addFiltered(const Findings& findings, const FoundDevice& device,
                 std::vector<Reason>& reasons) {
  if (device.count(Fate::refused) > 0) {
    reasons.push_back(refused(findings, device));
  }
  if (device.count(Fate::otherUuid) > 0) {
    reasons.push_back(otherUuid(findings, device));
  }
  if (device.count(Fate::withheld) > 0) {
    reasons.push_back(
        {"iBeacon frames in scan responses, hidden behind the advertisement",
         counted(device.count(Fate::withheld), "scan response") +
             " carried an iBeacon frame while the advertisement has manufacturer data of its own, "
             "which hides it. Send the frame in the advertisement itself."});
  }
  if (device.count(Fate::noIBeacon) > 0) {
    reasons.push_back(noIBeacon(findings, device));
  }
}

void addSignal(const Findings& findings, const FoundDevice& device, std::vector<Reason>& reasons) {
  if (device.heard == 1) {
    reasons.push_back({"heard once only",
                       "It was heard once only: it left, was far away, or advertises rarely. "
                       "Listen longer, or nearer."});
    return;
  }
  const auto gaps = static_cast<std::int64_t>(device.heard - 1 - device.silences);
  const MainQueue::Time interval = gaps > 0 ? device.steadyTime / gaps : MainQueue::Time(0);
  const double mean = device.rssiReadings == 0 ? 0.0 : device.rssiMean();
  constexpr double kEdgeOfHearing = -85.0;  // dBm; receivers hear down to some -95
  if (device.silences >= 2 && mean < kEdgeOfHearing && interval < std::chrono::seconds(5)) {
    std::array<char, 16> strength{};
    std::snprintf(strength.data(), strength.size(), "%.0f", mean);
    reasons.push_back({"a signal at the edge of hearing",
                       "Its signal comes and goes at the edge of hearing: " +
                           counted(device.silences, "silence") +
                           " of 10 s and more, at a mean of " + strength.data() +
                           " dBm. Move nearer, or raise the beacon's transmission power."});
  }
  const MainQueue::Time silence = findings.silenceAfter(device);
  if (silence >= std::chrono::seconds(10) && silence > 5 * interval) {
    reasons.push_back({"fell silent before the end",
                       "It fell silent " + seconds(silence) +
                           " before the end: it left, was switched off, or ran out of battery."});
  }
}

// The run

struct HeardUuid {
  std::size_t devices = 0;
  const FoundDevice* lastDevice = nullptr;
  bool isIBeacon = false;
};

struct UuidLess {
  bool operator()(const UUID& left, const UUID& right) const { return left.bytes < right.bytes; }
};
using HeardUuids = std::map<UUID, HeardUuid, UuidLess>;

HeardUuids heardUuids(const Findings& findings) {
  HeardUuids uuids;
  for (const FoundDevice& device : findings.devices()) {
    for (const FoundFrame& frame : device.frames) {
      HeardUuid& heard = uuids[frame.identity.uuid];
      heard.devices += std::exchange(heard.lastDevice, &device) == &device ? 0 : 1;
      heard.isIBeacon = heard.isIBeacon || !frame.isAltBeacon;
    }
  }
  return uuids;
}

/// The UUIDs that most devices sent, for somebody who has mistyped one.
std::string mostHeard(const HeardUuids& uuids) {
  if (uuids.empty()) {
    return "No beacon was heard at all: is it on, near, and not asleep?";
  }
  std::vector<std::pair<std::size_t, std::string>> byDevices;
  for (const auto& [uuid, heard] : uuids) {
    byDevices.emplace_back(heard.devices, text(uuid) + " (" + counted(heard.devices, "device") +
                                              (heard.isIBeacon ? ")" : ", AltBeacon)"));
  }
  std::ranges::stable_sort(byDevices, std::greater<>(),
                           [](const auto& each) { return each.first; });
  constexpr std::size_t kShown = 5;
  std::vector<std::string> shown;
  for (std::size_t index = 0; index < std::min(byDevices.size(), kShown); ++index) {
    shown.push_back(byDevices[index].second);
  }
  if (byDevices.size() > kShown) {
    shown.push_back(std::to_string(byDevices.size() - kShown) + " more");
  }
  return "Heard were " + listed(shown) + ".";
}

std::string whyUuidHeard(const FoundFilter& found, const HeardUuid& heard,
                         const Findings& findings) {
  const std::string head = "The filter " + filterText(found.map) + " detected nothing: ";
  if (!heard.isIBeacon) {
    return head + "its UUID is sent in AltBeacon frames, and filter mode hears iBeacons only. " +
           "Leave the filters out (generic mode), or make the beacon send iBeacon frames.";
  }
  std::set<std::string> pairs;
  std::string difference;
  bool isAccepted = false;
  for (const FoundDevice& device : findings.devices()) {
    for (const FoundFrame& frame : device.frames) {
      if (frame.identity.uuid != found.uuid) {
        continue;
      }
      pairs.insert(numbers(frame.identity));
      if (frame.isAltBeacon) {
        continue;
      }
      isAccepted = isAccepted || found.filter->accepts(found.filter->uuid(), frame.identity.major,
                                                       frame.identity.minor);
      if (difference.empty()) {
        difference = numbersDifference(*found.filter, frame.identity);
      }
    }
  }
  if (isAccepted) {
    return head +
           "its beacons were heard, but an earlier filter accepts them first, the run was too "
           "short for a report (one second), or nothing ranged their region.";
  }
  constexpr std::size_t kShown = 5;
  std::vector<std::string> sent;
  for (const std::string& each : pairs) {
    if (sent.size() == kShown) {
      sent.push_back(std::to_string(pairs.size() - kShown) + " more");
      break;
    }
    sent.push_back(each);
  }
  return head + "its UUID was heard with " + listed(sent) + " and it asks for " +
         numbers(*found.filter) + (difference.empty() ? "" : " (" + difference + ")") +
         ". Correct the major and the minor, or leave them out.";
}

std::string whyFilterSilent(const FoundFilter& found, const HeardUuids& uuids,
                            const Findings& findings) {
  const std::string head = "The filter " + filterText(found.map) + " detected nothing: ";
  if (!found.filter.has_value()) {
    return head + "it has no UUID. Give it one.";
  }
  if (!found.uuid.has_value()) {
    return head + "\"" + found.filter->uuid() +
           "\" is no UUID (8-4-4-4-12 hexadecimal digits), so that the plug-in makes no region of "
           "it. Correct it.";
  }
  if (const auto heard = uuids.find(*found.uuid); heard != uuids.end()) {
    return whyUuidHeard(found, heard->second, findings);
  }
  for (const auto& [uuid, heard] : uuids) {
    const std::string difference = uuidDifference(*found.uuid, uuid);
    if (!difference.empty()) {
      return head + "no device sent its UUID, but " + counted(heard.devices, "device") + " sent " +
             text(uuid) + ", which " + difference + ". If that is the beacon, give --filter " +
             filterText(found.map, uuid) + ".";
    }
  }
  return head + "no device sent its UUID. " + mostHeard(uuids);
}

void addRegions(const Findings& findings, std::vector<std::string>& reasons) {
  std::vector<std::string> names;
  for (const CLBeaconRegion& region : findings.regions()) {
    if (std::ranges::find(names, region.identifier) == names.end()) {
      names.push_back(region.identifier);
    }
  }
  if (names.size() <= rules::kMonitoredRegionsAtMost) {
    return;
  }
  const std::string most = std::to_string(rules::kMonitoredRegionsAtMost);
  const std::string all = std::to_string(names.size());
  names.erase(names.begin(), names.begin() + rules::kMonitoredRegionsAtMost);
  reasons.push_back(
      "The filters make " + all + " regions, and a phone monitors " + most +
      ". These are ranged while the application runs, but never entered or left: " + listed(names) +
      ". Ask for " + most + " UUIDs at most, and tell beacons apart by major and minor.");
}

}  // namespace

std::vector<Reason> reasonsFor(const Findings& findings, const FoundDevice& device) {
  std::vector<Reason> reasons;
  constexpr std::size_t kUsually = 2;
  reasons.reserve(kUsually);
  if (device.count(Fate::deaf) > 0) {
    reasons.push_back(deaf(findings, device));
  }
  if (findings.isGeneric()) {
    addGeneric(device, reasons);
  } else {
    addFiltered(findings, device, reasons);
  }
  addSignal(findings, device, reasons);
  return reasons;
}

std::vector<std::string> onIPhone(const Findings& findings, const FoundDevice& device) {
  std::vector<std::string> sentences;
  const FoundFrame* frame = frameOfKind(device, false);
  if (findings.isGeneric() && !findings.withholdsBeacons() && frame != nullptr) {
    sentences.push_back(
        joined({"An iPhone withholds iBeacon frames from Bluetooth scans, so that generic mode "
                "would not detect this beacon there (--phone iphone does the same here). Ask for "
                "it with a filter: --filter ",
                numbered(frame->identity), "."}));
  }
  return sentences;
}

std::vector<std::string> reasonsForRun(const Findings& findings, const WallClock& clock) {
  std::vector<std::string> reasons;
  const auto isSilent = [](const FoundFilter& each) { return each.events == 0; };
  if (std::ranges::any_of(findings.filters(), isSilent)) {
    const HeardUuids uuids = heardUuids(findings);
    for (const FoundFilter& each : findings.filters()) {
      if (isSilent(each)) {
        reasons.push_back(whyFilterSilent(each, uuids, findings));
      }
    }
  }
  if (findings.isGeneric() && findings.events() == 0) {
    reasons.emplace_back("Nothing was detected. Each device below says why.");
  }
  addRegions(findings, reasons);
  if (!findings.jumps().empty()) {
    const ClockJump& jump = findings.jumps().front();
    reasons.push_back("The recording's clock jumped " + counted(findings.jumps().size(), "time") +
                      ", first from " + clock.dateAndTime(jump.before) + " to " +
                      clock.dateAndTime(jump.after) +
                      ". Times from there on are by the new reading.");
  }
  return reasons;
}

Rank rankOf(const Findings& findings, const FoundDevice& device) {
  if (findings.isGeneric()) {
    if (device.count(Fate::event) > 0) {
      return Rank::detected;
    }
    // Where nothing was detected, every device is one that was missed.
    return device.frames.empty() && device.misshape == Misshape::none && findings.events() > 0
               ? Rank::other
               : Rank::missed;
  }
  if (device.count(Fate::refused) + device.count(Fate::withheld) > 0 ||
      (device.count(Fate::deaf) > 0 && device.count(Fate::ranged) == 0)) {
    return Rank::missed;
  }
  if (device.count(Fate::ranged) > 0) {
    return Rank::detected;
  }
  if (nearFilter(findings, device).filter != nullptr) {
    return Rank::missed;
  }
  const FoundFrame* altBeacon = frameOfKind(device, true);
  const bool isAsked = altBeacon != nullptr && isUuidAsked(findings, altBeacon->identity.uuid);
  return isAsked || device.misshape != Misshape::none ? Rank::missed : Rank::other;
}

std::string filterText(const EncodableMap& filter, const std::optional<UUID>& other) {
  const auto uuid = textFor(filter, "uuid");
  const auto label = textFor(filter, "identifier");
  const auto major = integerFor(filter, "majorId");
  const auto minor = integerFor(filter, "minorId");
  std::string words;
  if (other.has_value()) {
    words = text(*other);
  } else if (uuid.has_value()) {
    words = *uuid;
  }
  if (major.has_value() || minor.has_value()) {
    words.append("/").append(major.has_value() ? std::to_string(*major) : "");
  }
  if (minor.has_value()) {
    words.append("/").append(std::to_string(*minor));
  }
  return label.has_value() ? words.append("=").append(*label) : words;
}

std::string counted(std::uint64_t count, std::string_view noun) {
  return joined({std::to_string(count), " ", noun, count == 1 ? "" : "s"});
}

}  // namespace nimbrel
