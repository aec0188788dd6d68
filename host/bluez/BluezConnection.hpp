#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/bluez/BluezDevices.hpp"
#include "host/bluez/Sdbus.hpp"
#include "host/bluez/SystemBus.hpp"

namespace nimbrel {

/// Observes BlueZ's daemon. Called in tasks of the main queue.
class BluezObserver {
 public:
  using Properties = BluezDevices::Properties;
  using Interfaces = std::map<std::string, Properties>;
  using Objects = std::map<sdbus::ObjectPath, Interfaces>;

  virtual ~BluezObserver() = default;

  /// The daemon or the bus is gone, and everything known of its objects with it. `line` says so to
  /// the user.
  virtual void lost(const std::string& line) = 0;
  /// The daemon refuses to list its objects.
  virtual void unanswered(const sdbus::Error& error) = 0;
  /// All objects of a daemon that has been found.
  virtual void found(const Objects& objects) = 0;
  virtual void added(const std::string& object, const Interfaces& interfaces) = 0;
  virtual void removed(const std::string& object, const std::vector<std::string>& interfaces) = 0;
  virtual void changed(const std::string& object, const std::string& interface,
                       const Properties& properties, const std::vector<std::string>& withdrawn) = 0;
};

/// A connection to BlueZ's daemon on the system bus, made again after either went away.
/// Source: D-Bus's standard interfaces org.freedesktop.DBus.ObjectManager and
/// org.freedesktop.DBus.Properties.
class BluezConnection {
 public:
  /// The queue and the observer outlive it.
  BluezConnection(MainQueue& queue, BluezObserver& observer) : queue_(queue), observer_(observer) {}

  /// Connects to the bus and asks for the daemon's objects. Throws sdbus::Error if there is no bus.
  /// REQUIRES: it is not connected.
  void connect();

  /// Calls a method of an adapter; `done`, a task, is given the error, or null. Without a
  /// connection nothing happens.
  void call(const std::string& adapter, const std::string& method,
            const std::optional<BluezObserver::Properties>& argument,
            std::function<void(const sdbus::Error*)> done);

  /// Has the daemon watch for iBeacon frames with an adapter, in addition to a discovery. `done`, a
  /// task, runs once it does or has refused, as BlueZ 5.66 does if it was not started with
  /// --experimental. Without a connection nothing happens.
  void monitor(const std::string& adapter, std::function<void()> done);

  /// Asks for all properties of an object's interface; they come as if it were added now. Nothing
  /// comes if there is no such object any more.
  void ask(const std::string& object, const std::string& interface);

 private:
  void reconnectSoon();
  void subscribe();
  void askForObjects();
  void ownerChanged(const std::string& owner);
  template <typename... Arguments>
  void request(const std::string& adapter, const std::string& interface, const std::string& method,
               std::function<void(const sdbus::Error*)> done, const Arguments&... arguments);

  MainQueue& queue_;
  BluezObserver& observer_;
  std::unique_ptr<SystemBus> bus_;
  std::unique_ptr<sdbus::IProxy> daemon_;
  std::unique_ptr<sdbus::IObject> monitor_;
  using Proxies = std::map<std::string, std::unique_ptr<sdbus::IProxy>>;  // By object path.
  Proxies adapters_;
  Proxies asked_;  // Those that have not answered yet.
  bool hasDaemon_ = false;
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace nimbrel
