#include "host/air/BluezAdapter.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "host/air/InputError.hpp"

namespace nimbrel {
namespace {

constexpr auto service = "org.bluez";
constexpr auto adapterInterface = "org.bluez.Adapter1";
constexpr auto deviceInterface = "org.bluez.Device1";
constexpr auto managerInterface = "org.freedesktop.DBus.ObjectManager";

constexpr MainQueue::Time pause = std::chrono::seconds(1);

std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// hci10 comes after hci9.
bool comesBefore(const std::string& left, const std::string& right) {
  return left.size() != right.size() ? left.size() < right.size() : left < right;
}

bool isRefusal(const sdbus::Error& error) {
  return error.getName() == "org.freedesktop.DBus.Error.AccessDenied";
}

constexpr auto refusal =
    "the system bus gives no access to it; join the group that has it (sudo usermod -aG bluetooth "
    "$USER) and log in again";

std::map<std::string, sdbus::Variant> discoveryFilter() {
  return {{"Transport", sdbus::Variant(std::string("le"))},
          {"DuplicateData", sdbus::Variant(true)}};
}

std::optional<bool> flag(const std::map<std::string, sdbus::Variant>& properties,
                         const std::string& property) {
  const auto found = properties.find(property);
  if (found == properties.end() || !found->second.containsValueOfType<bool>()) return std::nullopt;
  return found->second.get<bool>();
}

/// Whether a switch of the machine is set, as the kernel's rfkill tells of an adapter.
bool isBlocked(const std::string& name, const char* kind) {
  std::error_code none;
  for (const auto& entry :
       std::filesystem::directory_iterator("/sys/class/bluetooth/" + name, none)) {
    if (entry.path().filename().string().starts_with("rfkill")) {
      std::ifstream file(entry.path() / kind);
      return file.get() == '1';
    }
  }
  return false;
}

}  // namespace

BluezAdapter::BluezAdapter(std::optional<std::string> name, MainQueue& mainQueue,
                           AdapterObserver& adapterObserver)
    : wanted_(std::move(name)), queue_(mainQueue), observer_(adapterObserver) {
  try {
    connect();
  } catch (const sdbus::Error& error) {
    throw InputError("the system bus", "cannot be reached: " + error.getMessage() +
                                           "; start it (sudo systemctl start dbus)");
  }
  try {
    Objects objects;
    daemon_->callMethod("GetManagedObjects").onInterface(managerInterface).storeResultsTo(objects);
    note(objects);
  } catch (const sdbus::Error& error) {
    if (isRefusal(error)) throw InputError("bluetoothd", refusal);
    throw InputError("bluetoothd", "does not answer: " + error.getMessage() +
                                       "; install BlueZ (sudo apt install bluez) and start it "
                                       "(sudo systemctl start bluetooth)");
  }
  path_ = chosen();
  if (path_.empty()) {
    std::string names;
    for (const auto& [object, isPowered] : adapters_) names.append(" ").append(nameOf(object));
    throw InputError(wanted_.value_or("Bluetooth"),
                     names.empty() ? "no adapter is there; plug one in, or see whether the kernel "
                                     "has its driver and firmware (dmesg | grep -i bluetooth)"
                                   : "no such adapter; there are:" + names);
  }
  if (!isOn()) throw InputError(nameOf(path_), whyOff());
  adapter_ = bus_->object(service, path_);
  try {
    adapter_->callMethod("SetDiscoveryFilter")
        .onInterface(adapterInterface)
        .withArguments(discoveryFilter());
    adapter_->callMethod("StartDiscovery").onInterface(adapterInterface);
    isDiscovering_ = true;
  } catch (const sdbus::Error& error) {
    throw InputError(nameOf(path_), isRefusal(error)
                                        ? refusal
                                        : "cannot scan: " + error.getMessage() +
                                              "; restart BlueZ (sudo systemctl restart bluetooth)");
  }
}

std::string BluezAdapter::name() const { return nameOf(path_); }

// The bus and the daemon

void BluezAdapter::connect() {
  bus_ = std::make_unique<SystemBus>(queue_, [this] {
    lose("the system bus is gone; the scan goes on when it is back");
    daemon_.reset();
    bus_.reset();
    after(pause, [this] { reconnect(); });
  });
  bus_->onSignal<std::string, std::string, std::string>(
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
      "member='NameOwnerChanged',arg0='org.bluez'",
      [this](const auto& /*object*/, const auto& /*program*/, const auto& /*before*/,
             const auto& owner) { takeOwner(owner); });
  bus_->onSignal<sdbus::ObjectPath, Interfaces>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesAdded'",
      [this](const auto& /*manager*/, const auto& object, const auto& interfaces) {
        takeAdded(object, interfaces);
      });
  bus_->onSignal<sdbus::ObjectPath, std::vector<std::string>>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesRemoved'",
      [this](const auto& /*manager*/, const auto& object, const auto& interfaces) {
        takeRemoved(object, interfaces);
      });
  bus_->onSignal<std::string, Properties, std::vector<std::string>>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.Properties',"
      "member='PropertiesChanged'",
      [this](const auto& object, const auto& interface, const auto& properties,
             const auto& withdrawn) { takeChanged(object, interface, properties, withdrawn); });
  daemon_ = bus_->object(service, "/");
}

void BluezAdapter::reconnect() {
  try {
    connect();
    askForObjects();
  } catch (const sdbus::Error&) {
    daemon_.reset();
    bus_.reset();
    after(pause, [this] { reconnect(); });
  }
}

void BluezAdapter::takeOwner(const std::string& owner) {
  if (!path_.empty() || owner.empty()) {
    lose("bluetoothd is gone; the scan goes on when it is back");
  }
  if (!owner.empty()) askForObjects();
}

void BluezAdapter::askForObjects() {
  const auto take = [this](const sdbus::Error* error, const Objects& objects) {
    if (error == nullptr) {
      bus_->post([this, objects] {
        note(objects);
        choose();
      });
    } else if (isRefusal(*error)) {
      bus_->post([] { throw std::runtime_error(std::string("bluetoothd: ") + refusal); });
    }
    // With any other error there is no daemon yet. Its coming is signalled.
  };
  try {
    daemon_->callMethodAsync("GetManagedObjects")
        .onInterface(managerInterface)
        .uponReplyInvoke(take);
  } catch (const sdbus::Error&) {
    // The bus is gone, which it tells by itself.
  }
}

void BluezAdapter::lose(const std::string& what) {
  ++attempts_;
  adapters_.clear();
  devices_ = {};
  path_.clear();
  adapter_.reset();
  // A phone's own service for Bluetooth went down: to be back soon.
  change(CBManagerState::resetting, what);
}

// Adapters and devices

void BluezAdapter::note(const Objects& objects) {
  for (const auto& [object, interfaces] : objects) {
    for (const auto& [interface, properties] : interfaces) {
      if (interface == adapterInterface) {
        adapters_[object] = flag(properties, "Powered").value_or(false);
      } else if (interface == deviceInterface) {
        devices_.know(object, properties);
      }
    }
  }
}

void BluezAdapter::takeAdded(const std::string& object, const Interfaces& interfaces) {
  if (const auto found = interfaces.find(deviceInterface); found != interfaces.end()) {
    hear(object, devices_.take(object, found->second));
  }
  if (interfaces.contains(adapterInterface)) {
    note({{sdbus::ObjectPath(object), interfaces}});
    choose();
  }
}

void BluezAdapter::takeRemoved(const std::string& object,
                               const std::vector<std::string>& interfaces) {
  const auto lost = [&](const char* interface) {
    return std::ranges::find(interfaces, interface) != interfaces.end();
  };
  if (lost(deviceInterface)) devices_.forget(object);
  if (lost(adapterInterface)) {
    adapters_.erase(object);
    choose();
  }
}

void BluezAdapter::takeChanged(const std::string& object, const std::string& interface,
                               const Properties& properties,
                               const std::vector<std::string>& withdrawn) {
  if (interface == deviceInterface) {
    devices_.withdraw(object, withdrawn);
    hear(object, devices_.take(object, properties));
    return;
  }
  const auto known = adapters_.find(object);
  if (interface != adapterInterface || known == adapters_.end()) return;
  if (const auto isPowered = flag(properties, "Powered")) {
    known->second = *isPowered;
    if (object == path_) followPower();
  }
  const auto discovering = flag(properties, "Discovering");
  if (discovering && object == path_) followDiscovering(*discovering);
}

void BluezAdapter::hear(const std::string& object,
                        const std::optional<Advertisement>& advertisement) {
  if (advertisement && !path_.empty() && object.starts_with(path_ + "/")) {
    observer_.heard(*advertisement);
  }
}

std::string BluezAdapter::chosen() const {
  if (adapters_.contains(path_)) return path_;
  std::string best;
  for (const auto& [object, isPowered] : adapters_) {
    if (wanted_ ? nameOf(object) == *wanted_ : best.empty() || comesBefore(object, best)) {
      best = object;
    }
  }
  return best;
}

void BluezAdapter::choose() {
  const std::string next = chosen();
  if (next == path_ && !path_.empty()) return;
  const std::string before = std::exchange(path_, next);
  adapter_.reset();
  ++attempts_;
  if (!path_.empty()) {
    adapter_ = bus_->object(service, path_);
    followPower();
  } else {
    // There is no radio now and may be one later, as with Bluetooth switched off. "Unsupported"
    // would be final: no phone ever grows a radio.
    change(CBManagerState::poweredOff,
           (before.empty() ? "no adapter is there yet" : nameOf(before) + ": the adapter is gone") +
               "; the scan goes on when " + wanted_.value_or("one") + " is there");
  }
}

bool BluezAdapter::isOn() const {
  const auto found = adapters_.find(path_);
  return found != adapters_.end() && found->second;
}

std::string BluezAdapter::whyOff() const {
  if (isBlocked(nameOf(path_), "hard")) {
    return "is blocked by a switch or the firmware of the machine; switch Bluetooth on there";
  }
  if (isBlocked(nameOf(path_), "soft")) {
    return "is blocked; unblock it (sudo rfkill unblock bluetooth)";
  }
  return "is switched off; switch it on (bluetoothctl power on)";
}

void BluezAdapter::followPower() {
  ++attempts_;
  if (!isOn()) {
    change(CBManagerState::poweredOff, nameOf(path_) + ": " + whyOff());
  } else {
    failures_ = 0;
    startDiscovery();
  }
}

void BluezAdapter::change(CBManagerState next, const std::string& line) {
  const CBManagerState before = std::exchange(state_, next);
  if (before != next) observer_.changed(next);
  if (before == CBManagerState::poweredOn || next != CBManagerState::poweredOff) {
    observer_.noted(line);
    return;
  }
  // On its way up, an adapter comes after its daemon and its power after it. Only what lasts is
  // worth a line.
  after(pause, [this, line, attempt = attempts_] {
    if (attempt == attempts_ && state_ == CBManagerState::poweredOff) observer_.noted(line);
  });
}

// The discovery

void BluezAdapter::call(const std::string& method, const std::optional<Properties>& argument,
                        std::function<void(const sdbus::Error*)> done) {
  try {
    auto message = adapter_->createMethodCall(adapterInterface, method);
    if (argument) message << *argument;
    adapter_->callMethod(message, [this, done = std::move(done), attempt = attempts_](
                                      sdbus::MethodReply& /*reply*/, const sdbus::Error* error) {
      const auto failure = error == nullptr ? std::nullopt : std::optional(*error);
      bus_->post([this, done, attempt, failure] {
        if (attempt == attempts_) done(failure ? &*failure : nullptr);
      });
    });
  } catch (const sdbus::Error&) {
    // The bus is gone, which it tells by itself.
  }
}

void BluezAdapter::startDiscovery() {
  call("SetDiscoveryFilter", discoveryFilter(), [this](const sdbus::Error* refused) {
    if (refused != nullptr) return discoveryFailed(*refused);
    call("StartDiscovery", std::nullopt, [this](const sdbus::Error* error) {
      if (error != nullptr) return discoveryFailed(*error);
      isDiscovering_ = true;
      failures_ = 0;
      change(CBManagerState::poweredOn, nameOf(path_) + ": the scan goes on");
    });
  });
}

void BluezAdapter::restartDiscovery() {
  ++attempts_;
  // The daemon may take the discovery for still running; where it does not, this does nothing.
  call("StopDiscovery", std::nullopt, [this](const sdbus::Error* /*error*/) { startDiscovery(); });
}

void BluezAdapter::discoveryFailed(const sdbus::Error& error) {
  if (isRefusal(error)) throw std::runtime_error(std::string("bluetoothd: ") + refusal);
  // The first time, it may just not be ready: its power has only come on.
  if (++failures_ == 2) {
    observer_.noted(nameOf(path_) + ": cannot scan: " + error.getMessage() +
                    "; it is tried again every second");
  }
  after(pause, [this, attempt = attempts_] {
    if (attempt == attempts_) restartDiscovery();
  });
}

void BluezAdapter::followDiscovering(bool isNow) {
  isDiscovering_ = isNow;
  if (isNow || !isOn()) return;
  // Before an adapter goes off or away, its discovery ends. And the daemon itself may go on.
  after(pause, [this, attempt = attempts_] {
    if (attempt == attempts_ && !isDiscovering_) {
      observer_.noted(nameOf(path_) + ": another program ended the scan; it is started again");
      restartDiscovery();
    }
  });
}

void BluezAdapter::after(MainQueue::Time delay, std::function<void()> task) {
  queue_.at(queue_.now() + delay, [isAlive = std::weak_ptr(life_), task = std::move(task)] {
    if (!isAlive.expired()) task();
  });
}

}  // namespace nimbrel
