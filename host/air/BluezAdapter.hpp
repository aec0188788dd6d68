#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/air/BluezDevices.hpp"
#include "host/air/SystemBus.hpp"
#include "host/phone/MainQueue.hpp"
#include "platform/CoreBluetooth.hpp"

namespace nimbrel {

/// Follows what an adapter does and hears, in tasks of the main queue.
class AdapterObserver {
 public:
  virtual ~AdapterObserver() = default;

  /// The advertisement's time is left out: it is now.
  virtual void heard(const Advertisement& advertisement) = 0;
  /// What the Bluetooth of a phone would be now.
  virtual void changed(CBManagerState state) = 0;
  /// One line for the user on what happened, and on what there is to do about it, if anything.
  virtual void noted(const std::string& line) = 0;
};

/// One of the machine's Bluetooth adapters, by way of BlueZ's daemon on the system bus, and the
/// discovery of Bluetooth LE devices with it, which lasts as long as the object. After whatever
/// takes the adapter, the daemon or the bus away, discovery goes on as soon as it is back.
/// Source: BlueZ's D-Bus API, interfaces org.bluez.Adapter1 and org.bluez.Device1.
class BluezAdapter {
 public:
  /// Of the name that is given ("hci1"), or else the first. Starts the discovery. Throws InputError
  /// where that cannot be done now. Later on, the queue's run throws std::runtime_error where it
  /// will never go on: without the permission. The queue and the observer outlive it.
  BluezAdapter(std::optional<std::string> name, MainQueue& queue, AdapterObserver& observer);

  /// Of the adapter in use: "hci0".
  [[nodiscard]] std::string name() const;

 private:
  using Properties = BluezDevices::Properties;
  using Interfaces = std::map<std::string, Properties>;
  using Objects = std::map<sdbus::ObjectPath, Interfaces>;

  void connect();
  void reconnect();
  void askForObjects();
  void note(const Objects& objects);
  void takeAdded(const std::string& object, const Interfaces& interfaces);
  void takeRemoved(const std::string& object, const std::vector<std::string>& interfaces);
  void takeChanged(const std::string& object, const std::string& interface,
                   const Properties& properties, const std::vector<std::string>& withdrawn);
  void takeOwner(const std::string& owner);
  void hear(const std::string& object, const std::optional<Advertisement>& advertisement);

  void lose(const std::string& what);
  [[nodiscard]] std::string chosen() const;
  void choose();
  void followPower();
  void followDiscovering(bool isNow);

  /// A method of the adapter; `done` is given the error, or null.
  void call(const std::string& method, const std::optional<Properties>& argument,
            std::function<void(const sdbus::Error*)> done);
  void startDiscovery();
  void restartDiscovery();
  void discoveryFailed(const sdbus::Error& error);

  [[nodiscard]] bool isOn() const;
  [[nodiscard]] std::string whyOff() const;
  void change(CBManagerState next, const std::string& line);
  void after(MainQueue::Time delay, std::function<void()> task);

  std::optional<std::string> wanted_;
  MainQueue& queue_;
  AdapterObserver& observer_;
  CBManagerState state_ = CBManagerState::poweredOn;
  std::unique_ptr<SystemBus> bus_;
  std::unique_ptr<sdbus::IProxy> daemon_;
  std::map<std::string, bool> adapters_;  // Whether they are powered, by object path.
  std::string path_;                      // Of the adapter in use; empty while there is none.
  std::unique_ptr<sdbus::IProxy> adapter_;
  BluezDevices devices_;
  bool isDiscovering_ = false;
  unsigned attempts_ = 0;  // Numbers the attempts at a discovery: what is left of one is dropped.
  unsigned failures_ = 0;
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace nimbrel
