#include "host/phone/Phone.hpp"

#include <utility>

#include "Classes/bluetooth/AdvertisementDecoding.hpp"

namespace nimbrel {

Phone::Phone(const Setup& setup, MainQueue& queue, PhoneObserver& observer)
    : queue_(queue),
      observer_(observer),
      systemVersion_(setup.systemVersion),
      hasLocationManager_(setup.hasLocationManager),
      clock_(setup.clock),
      location_(setup.location, queue, observer),
      bluetooth_(setup.bluetooth, queue, observer),
      hasConsole_(setup.hasConsole) {}

void Phone::setClock(MainQueue::Time sinceEpoch) {
  clock_ = 0.0;
  clockOffset_ = sinceEpoch - queue_.now();
}

void Phone::hear(const Sighting& sighting) {
  bluetooth_.hear(sighting);
  if (bluetooth_.state() == CBManagerState::poweredOn && sighting.carriesManufacturerData &&
      sighting.manufacturerData.has_value()) {
    if (const auto frame = frames::iBeacon(*sighting.manufacturerData)) {
      location_.hear(*frame, sighting.rssi);
    }
  }
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
  if (!hasConsole_) {
    return;
  }
  line_.clear();
  for (const std::string_view part : parts) {
    line_.append(part);
  }
  observer_.logged(line_);
}

}  // namespace nimbrel
