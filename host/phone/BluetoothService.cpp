#include "host/phone/BluetoothService.hpp"

#include <algorithm>
#include <utility>

#include "host/phone/Notify.hpp"

namespace nimbrel {

namespace {

constexpr MainQueue::Time kDiscoveryInterval = std::chrono::seconds(1);

bool areEqual(const std::optional<std::vector<std::uint8_t>>& kept,
              const std::optional<std::span<const std::uint8_t>>& heard) {
  return kept.has_value() == heard.has_value() &&
         (!kept.has_value() || std::ranges::equal(*kept, *heard));
}

}  // namespace

/// The service as one holder of a central manager sees it.
class BluetoothService::Manager final : public CBCentralManager {
 public:
  Manager(BluetoothService& service, std::weak_ptr<CBCentralManagerDelegate> delegate)
      : service_(service), delegate_(std::move(delegate)) {
    service_.managers_.push_back(this);
  }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;
  ~Manager() override { std::erase(service_.managers_, this); }

  [[nodiscard]] std::shared_ptr<CBCentralManagerDelegate> delegate() const {
    return delegate_.lock();
  }

  [[nodiscard]] CBManagerState state() const override { return service_.state_; }
  void scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                          const CBScanOptions& options) override {
    service_.observer_.requested({"scanForPeripherals", {}, Request::Scan{services, options}});
    service_.isScanning_ = true;
  }
  void stopScan() override {
    service_.observer_.requested({"stopScan", {}, {}});
    service_.isScanning_ = false;
  }

 private:
  BluetoothService& service_;
  std::weak_ptr<CBCentralManagerDelegate> delegate_;
};

BluetoothService::BluetoothService(CBManagerState state, MainQueue& queue, PhoneObserver& observer)
    : queue_(queue), observer_(observer), state_(state) {}

BluetoothService::~BluetoothService() = default;

std::unique_ptr<CBCentralManager> BluetoothService::makeManager(
    std::weak_ptr<CBCentralManagerDelegate> delegate) {
  auto manager = std::make_unique<Manager>(*this, std::move(delegate));
  queue_.async([this, made = manager.get()] {
    if (std::find(managers_.begin(), managers_.end(), made) == managers_.end()) {
      return;
    }
    if (const auto receiver = made->delegate()) {
      receiver->centralManagerDidUpdateState(*made);
    }
  });
  return manager;
}

void BluetoothService::changeState(CBManagerState state) {
  state_ = state;
  notifyDelegates(managers_, [](auto& delegate, auto& manager) {
    delegate.centralManagerDidUpdateState(manager);
  });
}

void BluetoothService::discover(const CBPeripheral& peripheral, const CBAdvertisementData& data,
                                double rssi) {
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    delegate.centralManagerDidDiscover(manager, peripheral, data, rssi);
  });
}

void BluetoothService::hear(const Sighting& sighting) {
  if (!isScanning_ || state_ != CBManagerState::poweredOn) {
    return;
  }
  const auto [place, isNew] = devices_.try_emplace(sighting.address);
  Device& device = place->second;
  const bool isSameName = device.peripheral.name == sighting.name;
  const bool isSameData = areEqual(device.manufacturerData, sighting.manufacturerData);
  if (isNew) {
    device.peripheral.identifier = peripheralIdentifier(sighting.address);
  } else if (isSameName && isSameData && queue_.now() - device.discovered < kDiscoveryInterval) {
    return;
  }
  if (!isSameName) {
    device.peripheral.name = sighting.name;
  }
  if (!isSameData) {
    if (const auto& heard = sighting.manufacturerData) {
      device.manufacturerData.emplace(heard->begin(), heard->end());
    } else {
      device.manufacturerData.reset();
    }
  }
  device.discovered = queue_.now();
  CBAdvertisementData data;
  if (sighting.manufacturerData.has_value()) {
    data.manufacturerData = *sighting.manufacturerData;
  }
  discover(device.peripheral, data, sighting.rssi);
}

UUID peripheralIdentifier(const DeviceAddress& address) {
  const auto type = static_cast<std::uint8_t>(address.type);
  UUID uuid{{0x6E, 0x69, 0x6D, 0x62, 0x72, 0x65, 0x8C, 0x00, 0x80, type}};
  std::copy(address.bytes.begin(), address.bytes.end(), uuid.bytes.begin() + 10);
  return uuid;
}

}  // namespace nimbrel
