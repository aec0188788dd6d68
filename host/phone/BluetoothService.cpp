#include "host/phone/BluetoothService.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

#include "host/phone/Notify.hpp"
#include "host/phone/Rules.hpp"

namespace nimbrel {

/// A central manager, with its delegate and its scan.
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

  [[nodiscard]] bool isScanning() const { return isScanning_; }

  [[nodiscard]] CBManagerState state() const override { return service_.state_; }
  void scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                          const CBScanOptions& options) override {
    assert(state() == CBManagerState::poweredOn);
    service_.observer_.requested({"scanForPeripherals", {}, Request::Scan{services, options}});
    isScanning_ = true;
  }
  void stopScan() override {
    service_.observer_.requested({"stopScan", {}, {}});
    isScanning_ = false;
  }

 private:
  BluetoothService& service_;
  std::weak_ptr<CBCentralManagerDelegate> delegate_;
  bool isScanning_ = false;
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
  observer_.bluetoothChanged(state);
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

bool BluetoothService::isListening() const {
  return state_ == CBManagerState::poweredOn &&
         std::ranges::any_of(managers_, &Manager::isScanning);
}

ScanOutcome BluetoothService::hear(Device& device) const {
  if (!isListening()) {
    return ScanOutcome::deaf;
  }
  if (!device.isChanged && queue_.now() - device.lastDiscovered < rules::kDiscoveryInterval) {
    return ScanOutcome::coalesced;
  }
  device.isChanged = false;
  device.lastDiscovered = queue_.now();
  return ScanOutcome::discovered;
}

void BluetoothService::discover(const DeviceAddress& address, const Device& device,
                                const std::optional<Device::Bytes>& manufacturerData, double rssi) {
  peripheral_.identifier = peripheralIdentifier(address);
  peripheral_.name = device.name();
  CBAdvertisementData data;
  if (manufacturerData.has_value()) {
    data.manufacturerData = *manufacturerData;
  }
  observer_.discovered(peripheral_, data);
  notifyDelegates(managers_, [&](auto& delegate, auto& manager) {
    if (manager.isScanning()) {
      delegate.centralManagerDidDiscover(manager, peripheral_, data, rssi);
    }
  });
}

UUID peripheralIdentifier(const DeviceAddress& address) {
  const auto type = static_cast<std::uint8_t>(address.type);
  UUID uuid{{0x6E, 0x69, 0x6D, 0x62, 0x72, 0x65, 0x8C, 0x00, 0x80, type}};
  std::copy(address.bytes.begin(), address.bytes.end(), uuid.bytes.begin() + 10);
  return uuid;
}

}  // namespace nimbrel
