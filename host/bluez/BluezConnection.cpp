#include "host/bluez/BluezConnection.hpp"

#include <cassert>
#include <utility>

#include "host/bluez/AdvertisementMonitor.hpp"

namespace nimbrel {
namespace {

constexpr auto kService = "org.bluez";
constexpr auto kAdapterInterface = "org.bluez.Adapter1";
constexpr auto kMonitorsInterface = "org.bluez.AdvertisementMonitorManager1";
constexpr auto kManagerInterface = "org.freedesktop.DBus.ObjectManager";

constexpr auto kPropertiesInterface = "org.freedesktop.DBus.Properties";

constexpr MainQueue::Time kPause = std::chrono::seconds(1);

}  // namespace

void BluezConnection::connect() {
  assert(bus_ == nullptr);
  bus_ = std::make_unique<SystemBus>(queue_, [this] {
    adapters_.clear();
    asked_.clear();
    daemon_.reset();
    monitor_.reset();
    bus_.reset();
    hasDaemon_ = false;
    reconnectSoon();
    observer_.lost("the system bus is gone; the scan goes on when it is back");
  });
  try {
    subscribe();
  } catch (const sdbus::Error&) {
    bus_.reset();
    throw;
  }
  daemon_ = bus_->object(kService, "/");
  monitor_ = makeAdvertisementMonitor(*bus_);
  askForObjects();
}

void BluezConnection::reconnectSoon() {
  queue_.at(queue_.now() + kPause, [this, isAlive = std::weak_ptr(life_)] {
    if (isAlive.expired()) {
      return;
    }
    try {
      connect();
    } catch (const sdbus::Error&) {
      reconnectSoon();
    }
  });
}

void BluezConnection::subscribe() {
  bus_->onSignal<std::string, std::string, std::string>(
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
      "member='NameOwnerChanged',arg0='org.bluez'",
      [this](const auto& /*object*/, const auto& /*program*/, const auto& /*before*/,
             const auto& owner) { ownerChanged(owner); });
  bus_->onSignal<sdbus::ObjectPath, BluezObserver::Interfaces>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesAdded'",
      [this](const auto& /*manager*/, const auto& object, const auto& interfaces) {
        observer_.added(object, interfaces);
      });
  bus_->onSignal<sdbus::ObjectPath, std::vector<std::string>>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.ObjectManager',"
      "member='InterfacesRemoved'",
      [this](const auto& /*manager*/, const auto& object, const auto& interfaces) {
        adapters_.erase(object);
        observer_.removed(object, interfaces);
      });
  bus_->onSignal<std::string, BluezObserver::Properties, std::vector<std::string>>(
      "type='signal',sender='org.bluez',interface='org.freedesktop.DBus.Properties',"
      "member='PropertiesChanged'",
      [this](const auto& object, const auto& interface, const auto& properties,
             const auto& withdrawn) {
        observer_.changed(object, interface, properties, withdrawn);
      });
}

void BluezConnection::ownerChanged(const std::string& owner) {
  // A daemon whose name passes to another one at once is gone, too.
  if (std::exchange(hasDaemon_, false) || owner.empty()) {
    adapters_.clear();
    asked_.clear();
    observer_.lost("bluetoothd is gone; the scan goes on when it is back");
  }
  if (!owner.empty()) {
    askForObjects();
  }
}

void BluezConnection::askForObjects() {
  const auto take = [this](const sdbus::Error* error, const BluezObserver::Objects& objects) {
    if (error == nullptr) {
      bus_->post([this, objects] {
        hasDaemon_ = true;
        observer_.found(objects);
      });
    } else {
      bus_->post([this, failure = *error] { observer_.unanswered(failure); });
    }
  };
  try {
    sdbus_series::call<BluezObserver::Objects>(*daemon_, kManagerInterface, "GetManagedObjects",
                                               take);
  } catch (const sdbus::Error&) {
    // The bus is gone, and says so itself.
  }
}

void BluezConnection::call(const std::string& adapter, const std::string& method,
                           const std::optional<BluezObserver::Properties>& argument,
                           std::function<void(const sdbus::Error*)> done) {
  if (argument) {
    request(adapter, kAdapterInterface, method, std::move(done), *argument);
  } else {
    request(adapter, kAdapterInterface, method, std::move(done));
  }
}

void BluezConnection::monitor(const std::string& adapter, std::function<void()> done) {
  request(
      adapter, kMonitorsInterface, "RegisterMonitor",
      [done = std::move(done)](const sdbus::Error* /*error*/) { done(); }, sdbus::ObjectPath("/"));
}

template <typename... Arguments>
void BluezConnection::request(const std::string& adapter, const std::string& interface,
                              const std::string& method,
                              std::function<void(const sdbus::Error*)> done,
                              const Arguments&... arguments) {
  if (bus_ == nullptr) {
    return;
  }
  const auto answered = [this, done = std::move(done)](const sdbus::Error* error) {
    const auto failure = error == nullptr ? std::nullopt : std::optional(*error);
    bus_->post([done, failure] { done(failure ? &*failure : nullptr); });
  };
  try {
    std::unique_ptr<sdbus::IProxy>& proxy = adapters_[adapter];
    if (proxy == nullptr) {
      proxy = bus_->object(kService, adapter);
    }
    sdbus_series::call<>(*proxy, interface, method, answered, arguments...);
  } catch (const sdbus::Error&) {
    // The bus is gone, and says so itself.
  }
}

void BluezConnection::ask(const std::string& object, const std::string& interface) {
  if (bus_ == nullptr || asked_.contains(object)) {
    return;
  }
  const auto answered = [this, object, interface](const sdbus::Error* error,
                                                  const BluezObserver::Properties& properties) {
    const bool isThere = error == nullptr;
    bus_->post([this, object, interface, properties, isThere] {
      asked_.erase(object);
      if (isThere) {
        observer_.added(object, {{interface, properties}});
      }
    });
  };
  try {
    const auto& proxy = asked_[object] = bus_->object(kService, object);
    sdbus_series::call<BluezObserver::Properties>(*proxy, kPropertiesInterface, "GetAll", answered,
                                                  interface);
  } catch (const sdbus::Error&) {
    // The bus is gone, and says so itself.
  }
}

}  // namespace nimbrel
