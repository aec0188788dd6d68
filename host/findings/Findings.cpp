#include "host/findings/Findings.hpp"

#include <algorithm>
#include <cassert>
#include <numeric>
#include <stdexcept>

#include "Classes/bluetooth/Admission.hpp"
#include "Classes/bluetooth/DetectionMemory.hpp"
#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/phone/AddressTable.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

/// A device that is silent for so long counts as gone for a while.
constexpr MainQueue::Time kSilence = std::chrono::seconds(10);

/// Asks the reader of a frame what it would say to data that is long enough, of the right company,
/// and of the kind of `data`, which the two bytes behind the company tell.
template <typename Read>
bool wouldBeFrame(std::span<const std::uint8_t> data, std::uint16_t company, const Read& read) {
  std::array<std::uint8_t, frames::kSize> whole{};
  whole[0] = static_cast<std::uint8_t>(company & 0xFFU);
  whole[1] = static_cast<std::uint8_t>(company >> 8U);
  whole[2] = data[2];
  whole[3] = data[3];
  return read(whole).has_value();
}

/// Looks for the shape of a frame in manufacturer data that is none.
void takeMisshape(FoundDevice& device, std::span<const std::uint8_t> data) {
  const bool isIBeacon = wouldBeFrame(data, frames::kAppleCompany, frames::iBeacon);
  if (!isIBeacon && !wouldBeFrame(data, frames::kAltBeaconCompany, frames::altBeacon)) {
    return;
  }
  const std::uint16_t due = isIBeacon ? frames::kAppleCompany : frames::kAltBeaconCompany;
  if (frames::company(data) == due) {
    device.misshape = Misshape::tooShort;
  } else if (data.size() >= frames::kSize) {
    // Shorter data of another company says too little to be taken for a beacon.
    device.misshape = Misshape::otherCompany;
  } else {
    return;
  }
  device.isMisshapenAltBeacon = !isIBeacon;
  device.misshapenSize = static_cast<std::uint8_t>(std::min<std::size_t>(data.size(), 255));
}

}  // namespace

std::string_view nameOf(Fate fate) {
  constexpr std::array<std::string_view, kFates> kNames = {
      "event",   "notAdmitted", "thinned",   "coalesced", "ranged",
      "refused", "otherUuid",   "noIBeacon", "withheld",  "deaf"};
  return kNames[static_cast<std::size_t>(fate)];
}

std::uint64_t KeyHash::operator()(const DeviceAddress& address) const { return keyOf(address); }

std::uint64_t KeyHash::operator()(const BeaconIdentity& identity) const {
  const std::uint64_t numbers = std::uint64_t{identity.major} << 16U | identity.minor;
  return UuidHash()(identity.uuid) ^ numbers << 20U;
}

const FoundFrame* FoundDevice::lastFrame() const {
  const auto place = std::ranges::find_if(frames, &FoundFrame::isLast);
  return place == frames.end() ? nullptr : &*place;
}

std::vector<FoundFilter> foundFilters(const EncodableList& maps) {
  std::vector<FoundFilter> filters;
  for (const EncodableValue& value : maps) {
    const auto& map = std::get<EncodableMap>(value);
    const auto filter = BeaconFilter::from(map);
    filters.push_back({map, filter, filter.has_value() ? parseUuid(filter->uuid()) : std::nullopt});
  }
  return filters;
}

std::size_t firstAccepting(std::span<const FoundFilter> filters, std::string_view uuid,
                           std::int64_t major, std::int64_t minor) {
  const auto accepts = [&](const FoundFilter& each) {
    return each.filter.has_value() && each.filter->accepts(uuid, major, minor);
  };
  return static_cast<std::size_t>(std::ranges::find_if(filters, accepts) - filters.begin());
}

Findings::Findings(const Setup& setup)
    : withholdsBeacons_(setup.withholdsBeacons),
      keepsStories_(setup.keepsStories),
      filters_(foundFilters(setup.filters)) {}

std::size_t Findings::begin(const Advertisement& advertisement, MainQueue::Time now) {
  assert(device_ == nullptr);
  place_ = devices_.tryEmplace(advertisement.address).first;
  device_ = &devices_[place_];
  frame_ = nullptr;
  takeTimes(*device_, advertisement, now);
  isAdmitted_ = hasEvent_ = false;
  fate_ = Fate::deaf;
  return place_;
}

void Findings::takeTimes(FoundDevice& device, const Advertisement& advertisement,
                         MainQueue::Time now) {
  if (device.heard == 0) {
    device.first = advertisement.time;
  } else if (now - device.lastAt < kSilence) {
    device.steadyTime += now - device.lastAt;
  } else {
    device.silences += device.lastAt < jumpedAt_ ? 0 : 1;
  }
  ++device.heard;
  device.last = advertisement.time;
  device.lastAt = now;
  if (advertisement.rssi != rules::kNoReading) {
    device.rssiMin = std::min(device.rssiMin, advertisement.rssi);
    device.rssiMax = std::max(device.rssiMax, advertisement.rssi);
    device.rssiSum += advertisement.rssi;
    ++device.rssiReadings;
  }
}

void Findings::takeManufacturerData(const Reception& reception) {
  if (!reception.manufacturerData.has_value() || reception.manufacturerData->size() < 2) {
    return;
  }
  const std::span<const std::uint8_t> data = *reception.manufacturerData;
  device_->hasManufacturerData = true;
  device_->company = frames::company(data);
  if (reception.iBeacon.has_value()) {
    frame_ = &frameOf(*reception.iBeacon, false);
  } else if (const auto altBeacon = frames::altBeacon(data)) {
    frame_ = &frameOf(*altBeacon, true);
  } else if (data.size() >= 4) {
    takeMisshape(*device_, data);
  }
}

FoundFrame& Findings::frameOf(const BeaconFrame& read, bool isAltBeacon) {
  const BeaconIdentity identity{read.uuid, read.major, read.minor};
  FoundFrame* found = nullptr;
  auto end = device_->frames.before_begin();
  std::size_t count = 0;
  for (FoundFrame& frame : device_->frames) {
    frame.isLast = false;
    if (frame.identity == identity && frame.isAltBeacon == isAltBeacon) {
      found = &frame;
    }
    ++end;
    ++count;
  }
  if (found == nullptr) {
    // A device that sends other numbers each time is no beacon to count: the last place is reused.
    constexpr std::size_t kFramesAtMost = 1000;
    if (count < kFramesAtMost) {
      end = device_->frames.emplace_after(end);
    }
    found = &*end;
    *found = {identity};
    found->isAltBeacon = isAltBeacon;
  }
  found->isLast = true;
  found->measuredPower = read.measuredPower;
  ++found->heard;
  return *found;
}

void Findings::discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data) {
  isAdmitted_ = isAdmitted(peripheral, data);
}

void Findings::heard(const Reception& reception) {
  assert(device_ != nullptr);
  takeManufacturerData(reception);
  const std::optional<std::string_view>& name = reception.name;
  if (name.has_value() && (!device_->isNamed || device_->name != *name)) {
    device_->isNamed = true;
    device_->name = *name;
  }
  if (!isGeneric()) {
    fate_ = rangedFate(reception.ranging);
    return;
  }
  switch (reception.scan) {
    case ScanOutcome::deaf:
      fate_ = Fate::deaf;
      break;
    case ScanOutcome::withheld:
      fate_ = Fate::withheld;
      break;
    case ScanOutcome::coalesced:
      fate_ = Fate::coalesced;
      break;
    case ScanOutcome::discovered:
      fate_ = isAdmitted_ ? Fate::thinned : Fate::notAdmitted;
      break;
  }
}

Fate Findings::rangedFate(RangingOutcome outcome) {
  switch (outcome) {
    case RangingOutcome::deaf:
      return Fate::deaf;
    case RangingOutcome::noFrame:
      return Fate::noIBeacon;
    case RangingOutcome::hidden:
      return Fate::withheld;
    case RangingOutcome::unranged:
    case RangingOutcome::ranged:
      break;
  }
  assert(frame_ != nullptr);
  if (frame_->verdict == Verdict::unread) {
    frame_->verdict = verdictOn(frame_->identity);
  }
  if (outcome == RangingOutcome::unranged) {
    return frame_->verdict == Verdict::otherUuid ? Fate::otherUuid : Fate::deaf;
  }
  if (frame_->verdict != Verdict::accepted) {
    return Fate::refused;
  }
  countRanged(*frame_);
  return Fate::ranged;
}

std::size_t Findings::firstAcceptingOf(const BeaconIdentity& identity) const {
  return firstAccepting(filters_, UuidText(identity.uuid), identity.major, identity.minor);
}

Verdict Findings::verdictOn(const BeaconIdentity& identity) const {
  const auto asksFor = [&](const FoundFilter& each) { return each.uuid == identity.uuid; };
  if (std::ranges::none_of(filters_, asksFor)) {
    return Verdict::otherUuid;
  }
  return firstAcceptingOf(identity) < filters_.size() ? Verdict::accepted : Verdict::refused;
}

void Findings::countRanged(FoundFrame& frame) {
  const auto [place, isNew] = beacons_.tryEmplace(frame.identity);
  FoundBeacon& beacon = beacons_[place];
  if (isNew) {
    beacon.filter = static_cast<std::uint32_t>(firstAcceptingOf(frame.identity));
  }
  beacon.lastDevice = place_;
  ++beacon.heard;
  if (!frame.isRanged) {
    frame.isRanged = true;
    ++beacon.devices;
  }
}

std::optional<std::size_t> Findings::received(const EncodableMap& event) {
  ++events_;
  if (isGeneric()) {
    // One advertisement leads to one event at most.
    if (device_ == nullptr || hasEvent_) {
      ++unheardEvents_;
      return std::nullopt;
    }
    hasEvent_ = true;
    return place_;
  }
  const auto uuid = parseUuid(*textFor(event, "uuid"));
  assert(uuid.has_value());
  const BeaconIdentity identity{*uuid, static_cast<std::uint16_t>(*integerFor(event, "majorId")),
                                static_cast<std::uint16_t>(*integerFor(event, "minorId"))};
  const std::optional<std::uint32_t> place = beacons_.find(identity);
  const std::size_t filter =
      place.has_value() ? beacons_[*place].filter : firstAcceptingOf(identity);
  if (filter == filters_.size()) {
    throw std::logic_error(
        "an event came that no filter accepts; this is a fault of nimbrel, please report it");
  }
  ++filters_[filter].events;
  if (!place.has_value()) {
    return std::nullopt;
  }
  FoundBeacon& beacon = beacons_[*place];
  ++beacon.events;
  beacon.silent += *valueFor<double>(event, "rssi") == 0.0 ? 1 : 0;
  if (beacon.identifier == nullptr) {
    beacon.identifier = &*identifiers_.emplace(*textFor(event, "identifier")).first;
  }
  return beacon.lastDevice;
}

void Findings::clockJumped(const ClockJump& jump, MainQueue::Time now) {
  jumps_.push_back(jump);
  jumpedAt_ = now;
}

void Findings::requested(const Request& request) {
  if (request.operation == "startMonitoring") {
    regions_.push_back(*request.region);
  }
}

void Findings::settle() {
  assert(device_ != nullptr);
  ++advertisements_;
  const Fate fate = hasEvent_ ? Fate::event : fate_;
  ++device_->fates[static_cast<std::size_t>(fate)];
  if (keepsStories_) {
    tell(*device_, fate);
  }
  device_ = nullptr;
}

void Findings::tell(const FoundDevice& device, Fate fate) {
  std::vector<Stretch>& story = stories_[&device];
  if (story.empty() || story.back().fate != fate) {
    story.push_back({fate, 0, device.last, device.last});
  }
  ++story.back().count;
  story.back().to = device.last;
}

const std::vector<Stretch>& Findings::storyOf(const FoundDevice& device) const {
  static const std::vector<Stretch> kNoStory;
  const auto found = stories_.find(&device);
  return found == stories_.end() ? kNoStory : found->second;
}

void Findings::end(MainQueue::Time now) {
  length_ = now;
  std::uint64_t total = 0;
  std::uint64_t events = 0;
  bool isWhole = true;
  for (const FoundDevice& device : devices()) {
    const std::uint64_t sum =
        std::accumulate(device.fates.begin(), device.fates.end(), std::uint64_t{0});
    isWhole = isWhole && sum == device.heard;
    total += sum;
    events += device.count(Fate::event);
  }
  if (!isWhole || total != advertisements_ || (isGeneric() && events + unheardEvents_ != events_)) {
    throw std::logic_error(
        "the fates do not add up to what was heard; this is a fault of nimbrel, please report it");
  }
}

}  // namespace nimbrel
