#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <forward_list>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "Classes/model/BeaconFilter.hpp"
#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/findings/OrderedTable.hpp"
#include "host/phone/Request.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// What became of one advertisement. In generic mode (no filters) the first four apply, in filter
/// mode the next four, the last two in both.
enum class Fate : std::uint8_t {
  event,        // It led to a detection event.
  notAdmitted,  // The plug-in saw it, and the device has nothing that generic mode asks for.
  thinned,      // The plug-in saw it too soon after the device's last one.
  coalesced,    // The phone held it back as a repeat.
  ranged,       // It was heard for a ranged region, and a filter accepts it.
  refused,      // It was heard for a ranged region, and no filter accepts its numbers.
  otherUuid,    // An iBeacon of a UUID that no filter asks for.
  noIBeacon,    // No iBeacon frame.
  withheld,     // The phone keeps it from this mode.
  deaf,         // Nothing was listening.
};
inline constexpr std::size_t kFates = 10;
/// Its name, in JSON and in text alike.
std::string_view nameOf(Fate fate);

/// What tells one beacon from another.
struct BeaconIdentity {
  UUID uuid;
  std::uint16_t major = 0;
  std::uint16_t minor = 0;

  friend bool operator==(const BeaconIdentity&, const BeaconIdentity&) = default;
};

/// Of what devices and beacons are found by.
struct KeyHash {
  std::uint64_t operator()(const DeviceAddress& address) const;
  std::uint64_t operator()(const BeaconIdentity& identity) const;
};

/// What the filters make of a beacon's identity.
enum class Verdict : std::uint8_t { unread, otherUuid, refused, accepted };

/// A beacon frame that a device sends.
struct FoundFrame {
  BeaconIdentity identity;
  std::int8_t measuredPower = 0;  // dBm at one metre
  bool isAltBeacon = false;
  bool isRanged = false;  // whether a filter accepted it in a ranged region
  bool isLast = false;    // whether it is the one that the device sent last
  Verdict verdict = Verdict::unread;
  std::uint32_t heard = 0;
};

/// What is nearly a beacon frame.
enum class Misshape : std::uint8_t { none, tooShort, otherCompany };

/// One device of the radio. A recording may hold a million of them, so that it is kept small. Its
/// counts do not overflow unnoticed: `Findings::end` compares their sums with the total.
struct FoundDevice {
  DeviceAddress address;
  bool isNamed = false;
  Misshape misshape = Misshape::none;
  std::uint8_t misshapenSize = 0;  // bytes of the misshapen manufacturer data, 255 for more
  bool isMisshapenAltBeacon = false;
  std::int8_t rssiMin = 127;  // dBm
  std::int8_t rssiMax = -128;
  bool hasManufacturerData = false;
  std::uint16_t company = 0;  // the last one
  std::uint32_t heard = 0;
  std::array<std::uint32_t, kFates> fates{};
  std::uint32_t silences = 0;      // of ten seconds and more
  std::uint32_t rssiReadings = 0;  // 127 is none
  std::int64_t rssiSum = 0;
  std::chrono::microseconds first{};  // by the wall clock, since 1970
  std::chrono::microseconds last{};
  MainQueue::Time lastAt{};              // by the run's time
  MainQueue::Time steadyTime{};          // from the first to the last, without those silences
  std::forward_list<FoundFrame> frames;  // in the order in which they were first heard
  std::string name;                      // in UTF-8

  /// Null without any frame.
  [[nodiscard]] const FoundFrame* lastFrame() const;
  /// In dBm. REQUIRES: there was a reading.
  [[nodiscard]] double rssiMean() const {
    return static_cast<double>(rssiSum) / static_cast<double>(rssiReadings);
  }
  [[nodiscard]] std::uint32_t count(Fate fate) const {
    return fates[static_cast<std::size_t>(fate)];
  }
};

/// What became of one filter.
struct FoundFilter {
  EncodableMap map;                    // as the application gave it
  std::optional<BeaconFilter> filter;  // as the plug-in understood it; absent if it did not
  std::optional<UUID> uuid;            // of `filter`; absent if its text is none
  std::uint64_t events = 0;            // of which it is the first filter to accept them
};

/// Of filter maps, as `startDetection` takes them.
std::vector<FoundFilter> foundFilters(const EncodableList& maps);

/// The place of the first filter that accepts a beacon, or the number of filters if none does.
/// REQUIRES: `uuid` is in upper case.
std::size_t firstAccepting(std::span<const FoundFilter> filters, std::string_view uuid,
                           std::int64_t major, std::int64_t minor);

/// One beacon of a filter-mode run.
struct FoundBeacon {
  BeaconIdentity identity;
  std::uint32_t filter = 0;                 // the first one to accept it
  const std::string* identifier = nullptr;  // of its events; null before the first
  std::uint32_t devices = 0;
  std::uint32_t lastDevice = 0;  // the place of the one that sent it last, among the devices
  std::uint64_t heard = 0;
  std::uint64_t events = 0;
  std::uint64_t silent = 0;  // events with signal strength 0
};

/// A stretch of equal fates in one device's story.
struct Stretch {
  Fate fate;
  std::uint32_t count;
  std::chrono::microseconds from;  // by the wall clock
  std::chrono::microseconds to;
};

/// A jump of the recording's clock.
struct ClockJump {
  std::chrono::microseconds before;
  std::chrono::microseconds after;
};

/// Follows a run of the plug-in and records what became of every advertisement.
///
/// For each advertisement: `begin`, then what the phone tells its observer, then `settle` once the
/// main queue is drained. `received` for every event, whenever it comes.
class Findings {
 public:
  struct Setup {
    /// Filter maps, as `startDetection` takes them; empty for generic mode.
    EncodableList filters;
    /// Whether the phone withholds iBeacon frames from Bluetooth scans.
    bool withholdsBeacons = false;
    /// Whether to keep the story of every device.
    bool keepsStories = false;
  };

  explicit Findings(const Setup& setup);

  /// Returns the place of the device among the devices.
  std::size_t begin(const Advertisement& advertisement, MainQueue::Time now);
  void discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data);
  void heard(const Reception& reception);
  /// Returns the place of the device that the event tells of: in filter mode, the one that sent the
  /// beacon last. Absent if no advertisement led to it.
  std::optional<std::size_t> received(const EncodableMap& event);
  void settle();
  void requested(const Request& request);
  /// The recording's clock jumped, up to this time of the run.
  void clockJumped(const ClockJump& jump, MainQueue::Time now);
  /// Ends the run. Throws std::logic_error if the fates do not add up, which is a bug in this
  /// program.
  void end(MainQueue::Time now);

  [[nodiscard]] bool isGeneric() const { return filters_.empty(); }
  [[nodiscard]] bool withholdsBeacons() const { return withholdsBeacons_; }
  [[nodiscard]] std::uint64_t advertisements() const { return advertisements_; }
  [[nodiscard]] std::uint64_t events() const { return events_; }
  [[nodiscard]] MainQueue::Time length() const { return length_; }
  /// How long a device was silent before the end; zero if that is unknown because the recording's
  /// clock jumped in that time.
  [[nodiscard]] MainQueue::Time silenceAfter(const FoundDevice& device) const {
    return device.lastAt < jumpedAt_ ? MainQueue::Time(0) : length_ - device.lastAt;
  }
  [[nodiscard]] const std::vector<ClockJump>& jumps() const { return jumps_; }
  /// In the order in which they were first heard.
  [[nodiscard]] const std::deque<FoundDevice>& devices() const { return devices_.elements(); }
  [[nodiscard]] const std::vector<FoundFilter>& filters() const { return filters_; }
  /// In the order in which they were first ranged.
  [[nodiscard]] const std::deque<FoundBeacon>& beacons() const { return beacons_.elements(); }
  /// The regions that the plug-in asked the phone to monitor, in that order.
  [[nodiscard]] const std::vector<CLBeaconRegion>& regions() const { return regions_; }
  /// Empty unless stories are kept.
  [[nodiscard]] const std::vector<Stretch>& storyOf(const FoundDevice& device) const;

 private:
  void takeTimes(FoundDevice& device, const Advertisement& advertisement, MainQueue::Time now);
  void takeManufacturerData(const Reception& reception);
  FoundFrame& frameOf(const BeaconFrame& read, bool isAltBeacon);
  [[nodiscard]] std::size_t firstAcceptingOf(const BeaconIdentity& identity) const;
  [[nodiscard]] Verdict verdictOn(const BeaconIdentity& identity) const;
  Fate rangedFate(RangingOutcome outcome);
  void countRanged(FoundFrame& frame);
  void tell(const FoundDevice& device, Fate fate);

  bool withholdsBeacons_;
  bool keepsStories_;
  std::vector<FoundFilter> filters_;
  OrderedTable<FoundDevice, &FoundDevice::address, KeyHash> devices_;
  OrderedTable<FoundBeacon, &FoundBeacon::identity, KeyHash> beacons_;
  std::set<std::string> identifiers_;  // of beacons, which share a few
  std::map<const FoundDevice*, std::vector<Stretch>> stories_;
  std::vector<ClockJump> jumps_;
  MainQueue::Time jumpedAt_{};
  std::vector<CLBeaconRegion> regions_;
  std::uint64_t advertisements_ = 0;
  std::uint64_t events_ = 0;
  std::uint64_t unheardEvents_ = 0;  // in generic mode, those that no advertisement led to
  MainQueue::Time length_{};

  // The advertisement between `begin` and `settle`.
  FoundDevice* device_ = nullptr;
  std::uint32_t place_ = 0;
  FoundFrame* frame_ = nullptr;  // of the device; null if there is none in the advertisement
  bool isAdmitted_ = false;
  bool hasEvent_ = false;
  Fate fate_ = Fate::deaf;
};

}  // namespace nimbrel
