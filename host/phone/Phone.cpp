#include "host/phone/Phone.hpp"

#include <utility>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

std::optional<BeaconFrame> frameIn(const std::optional<Device::Bytes>& manufacturerData) {
  return manufacturerData.has_value() ? frames::iBeacon(*manufacturerData) : std::nullopt;
}

}  // namespace

Phone::Phone(const Setup& setup, MainQueue& queue, PhoneObserver& observer)
    : queue_(queue),
      observer_(observer),
      systemVersion_(setup.systemVersion),
      hasLocationManager_(setup.hasLocationManager),
      withholdsBeacons_(setup.withholdsBeacons),
      clock_(setup.clock),
      location_(setup.location, queue, observer),
      bluetooth_(setup.bluetooth, queue, observer),
      devices_({.joinsScanResponse = setup.systemVersion < rules::kHidesScanResponseFrom,
                .withholdsBeacons = setup.withholdsBeacons}),
      hasConsole_(setup.hasConsole) {}

void Phone::setClock(MainQueue::Time sinceEpoch) {
  clock_ = 0.0;
  clockOffset_ = sinceEpoch - queue_.now();
}

void Phone::hear(const Advertisement& advertisement, double rssi) {
  const auto data = AdvertisingData::parse(advertisement.data);
  Device& device =
      devices_.hear(advertisement.address, data, advertisement.isScanResponse, queue_.now());
  // The advertisement's manufacturer data hides that of the scan response.
  const bool isHidden =
      advertisement.isScanResponse && device.part(Device::Part::advertised).has_value();
  pass(advertisement.address, device, data.manufacturerData, isHidden, rssi);
}

void Phone::hear(const Sighting& sighting) {
  Device& device =
      devices_.hear(sighting.address, sighting.name, sighting.manufacturerData, queue_.now());
  pass(sighting.address, device, sighting.manufacturerData, false, sighting.rssi);
}

void Phone::pass(const DeviceAddress& address, Device& device,
                 std::optional<Device::Bytes> manufacturerData, bool isHidden, double rssi) {
  Reception reception{device.name(), manufacturerData, frameIn(manufacturerData)};
  const std::optional<BeaconFrame>& frame = reception.iBeacon;
  if (!withholdsBeacons_ || !frame.has_value() || isHidden) {
    reception.scan = bluetooth_.hear(device);
    if (reception.scan == ScanOutcome::discovered) {
      bluetooth_.discover(address, device, devices_.visibleManufacturerData(device), rssi);
    }
  } else if (bluetooth_.isListening()) {
    reception.scan = ScanOutcome::withheld;
  }
  if (bluetooth_.state() == CBManagerState::poweredOn && location_.isPermitted()) {
    if (!frame.has_value()) {
      reception.ranging = RangingOutcome::noFrame;
    } else {
      reception.ranging = isHidden ? RangingOutcome::hidden : location_.hear(*frame, rssi);
    }
  }
  observer_.heard(reception);
}

std::unique_ptr<CLLocationManager> Phone::makeLocationManager() {
  return hasLocationManager_ ? location_.makeManager() : nullptr;
}

std::unique_ptr<CBCentralManager> Phone::makeCentralManager(
    std::weak_ptr<CBCentralManagerDelegate> delegate) {
  return bluetooth_.makeManager(std::move(delegate));
}

CLAuthorizationStatus Phone::authorizationStatus() const { return location_.classAuthorization(); }

OperatingSystemVersion Phone::systemVersion() const { return systemVersion_; }

double Phone::timeIntervalSince1970() const {
  // Microseconds of these decades are exact in a double, and one division keeps them so.
  return clock_ + static_cast<double>((clockOffset_ + queue_.now()).count()) / 1e6;
}

void Phone::dispatchMainAsync(DispatchTask task) { queue_.async(std::move(task)); }

void Phone::print(std::initializer_list<std::string_view> parts) {
  line_.clear();
  for (const std::string_view part : parts) {
    line_.append(part);
  }
  observer_.logged(line_);
}

}  // namespace nimbrel
