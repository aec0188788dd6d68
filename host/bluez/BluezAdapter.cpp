#include "host/bluez/BluezAdapter.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

constexpr auto kAdapterInterface = "org.bluez.Adapter1";
constexpr auto kDeviceInterface = "org.bluez.Device1";

constexpr MainQueue::Time kPause = std::chrono::seconds(1);
constexpr MainQueue::Time kPatience = std::chrono::seconds(2);

std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// hci10 comes after hci9.
bool comesBefore(const std::string& left, const std::string& right) {
  return left.size() != right.size() ? left.size() < right.size() : left < right;
}

bool isRefusal(const sdbus::Error& error) {
  return error.getName() == "org.freedesktop.DBus.Error.AccessDenied";
}

constexpr auto kRefusal =
    "the system bus gives no access to it; join the group that has it (sudo usermod -aG bluetooth "
    "$USER) and log in again";

std::map<std::string, sdbus::Variant> discoveryFilter() {
  return {{"Transport", sdbus::Variant(std::string("le"))},
          {"DuplicateData", sdbus::Variant(true)}};
}

std::optional<bool> flag(const std::map<std::string, sdbus::Variant>& properties,
                         const std::string& property) {
  const auto found = properties.find(property);
  if (found == properties.end() || !found->second.containsValueOfType<bool>()) {
    return std::nullopt;
  }
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

BluezAdapter::BluezAdapter(std::optional<std::string> name, MainQueue& queue,
                           AdapterObserver& observer)
    : wanted_(std::move(name)), queue_(queue), observer_(observer), connection_(queue, *this) {
  try {
    connection_.connect();
  } catch (const sdbus::Error& error) {
    throw InputError("the system bus", "cannot be reached: " + error.getMessage() +
                                           "; start it (sudo systemctl start dbus)");
  }
  after(kPatience, [this] {
    if (!hasStarted_) {
      observer_.noted(
          "bluetoothd does not answer yet; if it stays so, restart it (sudo systemctl restart "
          "bluetooth)");
    }
  });
}

std::string BluezAdapter::name() const { return nameOf(path_); }

// The daemon

void BluezAdapter::lost(const std::string& line) {
  ++attempts_;
  adapters_.clear();
  devices_ = {};
  path_.clear();
  // A phone's own Bluetooth service that has crashed is back soon.
  change(CBManagerState::resetting, line);
}

void BluezAdapter::unanswered(const sdbus::Error& error) {
  if (isRefusal(error)) {
    if (hasStarted_) {
      throw std::runtime_error(std::string("bluetoothd: ") + kRefusal);
    }
    throw InputError("bluetoothd", kRefusal);
  }
  if (hasStarted_) {
    return;  // There is no daemon yet. The bus says when there is one.
  }
  const bool isMissing = error.getName() == "org.freedesktop.DBus.Error.ServiceUnknown";
  throw InputError("bluetoothd",
                   "does not answer: " + error.getMessage() +
                       (isMissing ? "; install BlueZ (sudo apt install bluez) and start it (sudo "
                                    "systemctl start bluetooth)"
                                  : "; restart it (sudo systemctl restart bluetooth)"));
}

void BluezAdapter::found(const Objects& objects) {
  for (const auto& [object, interfaces] : objects) {
    note(object, interfaces);
  }
  choose();
}

void BluezAdapter::note(const std::string& object, const Interfaces& interfaces) {
  for (const auto& [interface, properties] : interfaces) {
    if (interface == kAdapterInterface) {
      adapters_[object] = flag(properties, "Powered").value_or(false);
    } else if (interface == kDeviceInterface) {
      devices_.know(object, properties, queue_.now());
    }
  }
}

void BluezAdapter::added(const std::string& object, const Interfaces& interfaces) {
  if (const auto device = interfaces.find(kDeviceInterface); device != interfaces.end()) {
    hear(object, devices_.take(object, device->second, queue_.now()));
  }
  if (interfaces.contains(kAdapterInterface)) {
    note(object, interfaces);
    choose();
  }
}

void BluezAdapter::removed(const std::string& object, const std::vector<std::string>& interfaces) {
  const auto loses = [&](const char* interface) {
    return std::ranges::find(interfaces, interface) != interfaces.end();
  };
  if (loses(kDeviceInterface)) {
    devices_.forget(object);
  }
  if (loses(kAdapterInterface)) {
    adapters_.erase(object);
    choose();
  }
}

void BluezAdapter::changed(const std::string& object, const std::string& interface,
                           const Properties& properties,
                           const std::vector<std::string>& withdrawn) {
  if (interface == kDeviceInterface) {
    if (!devices_.knows(object)) {
      connection_.ask(object, kDeviceInterface);
      return;
    }
    devices_.withdraw(object, withdrawn);
    hear(object, devices_.take(object, properties, queue_.now()));
    return;
  }
  const auto known = adapters_.find(object);
  if (interface != kAdapterInterface || known == adapters_.end()) {
    return;
  }
  if (const auto isPowered = flag(properties, "Powered")) {
    known->second = *isPowered;
    if (object == path_) {
      followPower();
    }
  }
  const auto discovering = flag(properties, "Discovering");
  if (discovering && object == path_) {
    followDiscovering(*discovering);
  }
}

void BluezAdapter::hear(const std::string& object,
                        const std::optional<Advertisement>& advertisement) {
  if (advertisement && hasStarted_ && !path_.empty() && object.starts_with(path_ + "/")) {
    silence_.heard(queue_.now());
    observer_.heard(*advertisement);
  }
}

// The adapter

std::string BluezAdapter::chosen() const {
  if (adapters_.contains(path_)) {
    return path_;
  }
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
  if (next == path_ && !path_.empty()) {
    return;
  }
  if (next.empty() && !hasStarted_) {
    std::string names;
    for (const auto& [object, isPowered] : adapters_) {
      names.append(" ").append(nameOf(object));
    }
    throw InputError(wanted_.value_or("Bluetooth"),
                     names.empty() ? "no adapter is there; plug one in, or see whether the kernel "
                                     "has its driver and firmware (dmesg | grep -i bluetooth)"
                                   : "no such adapter; there are:" + names);
  }
  const std::string before = std::exchange(path_, next);
  ++attempts_;
  if (!path_.empty()) {
    followPower();
    return;
  }
  // There is no radio now and there may be one later, as with Bluetooth switched off. "Unsupported"
  // would be final: no phone ever grows a radio.
  change(CBManagerState::poweredOff,
         (before.empty() ? "no adapter is there yet" : nameOf(before) + ": the adapter is gone") +
             "; the scan goes on when " + wanted_.value_or("one") + " is there");
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
  if (isOn()) {
    failures_ = 0;
    startDiscovery();
  } else if (hasStarted_) {
    change(CBManagerState::poweredOff, nameOf(path_) + ": " + whyOff());
  } else {
    throw InputError(nameOf(path_), whyOff());
  }
}

void BluezAdapter::change(CBManagerState next, const std::string& line) {
  if (std::exchange(state_, next) != next) {
    observer_.changed(next);
  }
  if (next == CBManagerState::resetting) {
    say(line);
    return;
  }
  // An adapter that is pulled out is switched off first, and one that comes back gets its power
  // after it appears. Only a state that lasts is worth a line.
  afterInAttempt(kPause, [this, line] { say(line); });
}

void BluezAdapter::say(const std::string& line) {
  isInterruptionSaid_ = true;
  observer_.noted(line);
}

// The discovery

void BluezAdapter::call(const std::string& method, const std::optional<Properties>& argument,
                        std::function<void(const sdbus::Error*)> done) {
  connection_.call(path_, method, argument,
                   [this, done = std::move(done), attempt = attempts_](const sdbus::Error* error) {
                     if (attempt == attempts_) {
                       done(error);
                     }
                   });
}

void BluezAdapter::startDiscovery() {
  call("SetDiscoveryFilter", discoveryFilter(), [this](const sdbus::Error* refused) {
    if (refused != nullptr) {
      return discoveryFailed(*refused);
    }
    connection_.monitor(path_, [this, attempt = attempts_] {
      if (attempt == attempts_) {
        discover();
      }
    });
  });
}

void BluezAdapter::discover() {
  call("StartDiscovery", std::nullopt, [this](const sdbus::Error* error) {
    if (error != nullptr) {
      return discoveryFailed(*error);
    }
    discoveryStarted();
  });
}

void BluezAdapter::discoveryStarted() {
  isDiscovering_ = true;
  failures_ = 0;
  if (std::exchange(state_, CBManagerState::poweredOn) != CBManagerState::poweredOn) {
    silence_.reset(queue_.now());
    observer_.changed(state_);
  }
  if (std::exchange(isInterruptionSaid_, false) && hasStarted_) {
    observer_.noted(nameOf(path_) + ": the scan goes on");
  }
  if (!std::exchange(hasStarted_, true)) {
    silence_.reset(queue_.now());
    watchForSilence();
    observer_.listening();
  }
}

void BluezAdapter::restartDiscovery() {
  ++attempts_;
  // The daemon may take the discovery for still running. If it does not, stopping it fails, which
  // does no harm.
  call("StopDiscovery", std::nullopt, [this](const sdbus::Error* /*error*/) { startDiscovery(); });
}

void BluezAdapter::discoveryFailed(const sdbus::Error& error) {
  if (!hasStarted_) {
    throw InputError(nameOf(path_), isRefusal(error)
                                        ? kRefusal
                                        : "cannot scan: " + error.getMessage() +
                                              "; restart BlueZ (sudo systemctl restart bluetooth)");
  }
  if (isRefusal(error)) {
    throw std::runtime_error(std::string("bluetoothd: ") + kRefusal);
  }
  // An adapter whose power has just come on may not be ready, and a daemon that has just started
  // may be busy for a few seconds.
  const unsigned patience = error.getName() == "org.bluez.Error.InProgress" ? 5 : 2;
  if (++failures_ == patience) {
    say(nameOf(path_) + ": cannot scan: " + error.getMessage() +
        "; it is tried again every second");
  }
  afterInAttempt(kPause, [this] { restartDiscovery(); });
}

void BluezAdapter::followDiscovering(bool isNow) {
  isDiscovering_ = isNow;
  if (isNow || !isOn()) {
    return;
  }
  // The discovery of an adapter ends before its power goes off or it is removed, and the daemon
  // may start it again by itself.
  afterInAttempt(kPause, [this] {
    if (!isDiscovering_) {
      say(nameOf(path_) + ": another program ended the scan; it is started again");
      restartDiscovery();
    }
  });
}

void BluezAdapter::watchForSilence() {
  if (state_ == CBManagerState::poweredOn) {
    switch (silence_.check(queue_.now())) {
      case SilenceWatch::Step::none:
        break;
      case SilenceWatch::Step::restart:
        observer_.noted(nameOf(path_) + ": nothing is heard any more; the scan is started again");
        restartDiscovery();
        break;
      case SilenceWatch::Step::advise:
        observer_.noted(nameOf(path_) +
                        ": still nothing is heard; if a beacon is near, restart BlueZ (sudo "
                        "systemctl restart bluetooth)");
        break;
      case SilenceWatch::Step::ask:
        observer_.noted(nameOf(path_) +
                        ": nothing was heard for a minute; is a beacon on and near, and the "
                        "antenna free?");
        break;
    }
  } else {
    silence_.reset(queue_.now());
  }
  after(kPause, [this] { watchForSilence(); });
}

void BluezAdapter::after(MainQueue::Time delay, std::function<void()> task) {
  queue_.at(queue_.now() + delay, [isAlive = std::weak_ptr(life_), task = std::move(task)] {
    if (!isAlive.expired()) {
      task();
    }
  });
}

void BluezAdapter::afterInAttempt(MainQueue::Time delay, std::function<void()> task) {
  after(delay, [this, task = std::move(task), attempt = attempts_] {
    if (attempt == attempts_) {
      task();
    }
  });
}

}  // namespace nimbrel
