#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/bluez/BluezConnection.hpp"
#include "host/bluez/BluezDevices.hpp"
#include "host/bluez/SilenceWatch.hpp"
#include "platform/CoreBluetooth.hpp"

namespace nimbrel {

/// Observes an adapter. Called in tasks of the main queue.
class AdapterObserver {
 public:
  virtual ~AdapterObserver() = default;

  /// The discovery runs for the first time.
  virtual void listening() = 0;
  /// The advertisement's time is not set: it arrived at the queue's time.
  virtual void heard(const Advertisement& advertisement) = 0;
  /// The state that a phone's Bluetooth would have.
  virtual void changed(CBManagerState state) = 0;
  /// One line for the user: what happened, and what to do about it, if anything.
  virtual void noted(const std::string& line) = 0;
};

/// Discovers Bluetooth LE devices with one of the machine's adapters, which BlueZ's daemon runs.
/// When the adapter, the daemon or the bus goes away, discovery goes on once it is back.
/// Source: BlueZ's D-Bus API, interfaces org.bluez.Adapter1 and org.bluez.Device1.
class BluezAdapter final : private BluezObserver {
 public:
  /// Uses the adapter `name` ("hci1"), or the first one. Throws InputError if there is no bus. The
  /// discovery starts while the queue runs, which throws InputError if it cannot be started at
  /// all, and std::runtime_error if it cannot go on later: without the permission. The queue and
  /// the observer outlive it.
  BluezAdapter(std::optional<std::string> name, MainQueue& queue, AdapterObserver& observer);

  /// Returns the name of the adapter in use, "hci0".
  [[nodiscard]] std::string name() const;

 private:
  void lost(const std::string& line) override;
  void unanswered(const sdbus::Error& error) override;
  void found(const Objects& objects) override;
  void added(const std::string& object, const Interfaces& interfaces) override;
  void removed(const std::string& object, const std::vector<std::string>& interfaces) override;
  void changed(const std::string& object, const std::string& interface,
               const Properties& properties, const std::vector<std::string>& withdrawn) override;

  void note(const std::string& object, const Interfaces& interfaces);
  void hear(const std::string& object, const std::optional<Advertisement>& advertisement);

  [[nodiscard]] std::string chosen() const;
  void choose();
  void followPower();
  void followDiscovering(bool isNow);

  /// Calls a method of the adapter. `done` is given the error, or null, unless the attempt that
  /// the call belongs to has been given up by then.
  void call(const std::string& method, const std::optional<Properties>& argument,
            std::function<void(const sdbus::Error*)> done);
  void startDiscovery();
  void discover();
  void discoveryStarted();
  void restartDiscovery();
  void discoveryFailed(const sdbus::Error& error);
  void watchForSilence();

  [[nodiscard]] bool isOn() const;
  [[nodiscard]] std::string whyOff() const;
  void change(CBManagerState next, const std::string& line);
  void say(const std::string& line);
  void after(MainQueue::Time delay, std::function<void()> task);
  /// The same, unless the attempt is given up before.
  void afterInAttempt(MainQueue::Time delay, std::function<void()> task);

  std::optional<std::string> wanted_;
  MainQueue& queue_;
  AdapterObserver& observer_;
  BluezConnection connection_;
  BluezDevices devices_;
  std::map<std::string, bool> adapters_;  // Whether they are powered, by object path.
  std::string path_;                      // Of the adapter in use; empty while there is none.
  CBManagerState state_ = CBManagerState::poweredOn;
  bool hasStarted_ = false;  // The discovery ran at least once.
  bool isDiscovering_ = false;
  bool isInterruptionSaid_ = false;  // The user knows that the scan does not run.
  unsigned attempts_ = 0;            // Numbers the attempts at a discovery.
  unsigned failures_ = 0;
  SilenceWatch silence_;
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace nimbrel
