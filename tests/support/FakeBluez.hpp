#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/base/Clock.hpp"
#include "host/bluez/Sdbus.hpp"

namespace nimbrel::testing_support {

/// A private message bus that replaces the system bus.
class PrivateBus {
 public:
  /// Starts the bus. `rule` is an additional rule of its policy.
  explicit PrivateBus(const std::string& rule = "");
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  void start();
  void stop();
  /// Returns once all has arrived that was sent before, and that the answers to it are, too.
  static void settle();

 private:
  std::string folder_;
  pid_t daemon_ = 0;
};

/// Stands still while anybody on the private bus is busy, and jumps to what is due next otherwise.
class BusClock final : public Clock {
 public:
  /// `settle` waits for the others on the bus.
  explicit BusClock(std::function<void()> settle = PrivateBus::settle)
      : settle_(std::move(settle)) {}

  [[nodiscard]] Time now() const override { return now_; }
  int wait(std::span<pollfd> descriptors, Time pause, std::optional<Time> patience) override;
  /// Lets time pass while the program is suspended.
  void pass(Time time) { now_ += time; }

 private:
  std::function<void()> settle_;
  Time now_{};
};

/// A Bluetooth daemon without radios on the private bus. It answers from its own thread, as a
/// separate program would.
class FakeBluez {
 public:
  using Properties = std::map<std::string, sdbus::Variant>;

  struct Device {
    std::string address;
    std::optional<std::int16_t> rssi = std::nullopt;
    std::map<std::uint16_t, std::vector<std::uint8_t>> manufacturerData = {};
  };

  FakeBluez();
  ~FakeBluez();
  FakeBluez(const FakeBluez&) = delete;
  FakeBluez& operator=(const FakeBluez&) = delete;

  void addAdapter(const std::string& name, bool isPowered = true, bool takesMonitors = false);
  void removeAdapter(const std::string& name) {
    remove("/org/bluez/" + name, "org.bluez.Adapter1");
  }
  void changeAdapter(const std::string& name, const Properties& properties);

  /// `path` is "hci0/dev_1".
  void addDevice(const std::string& path, const Device& device);
  void changeDevice(const std::string& path, const Properties& properties,
                    const std::vector<std::string>& withdrawn = {});
  void removeDevice(const std::string& path) { remove("/org/bluez/" + path, "org.bluez.Device1"); }
  /// Says that properties of a device changed that is not there.
  void changeUnknown(const std::string& path, const Properties& properties);

  /// The error with which the next requests for a discovery are refused.
  void refuse(std::vector<std::string> errors) { refusals_ = std::move(errors); }
  /// Answers nothing from now on.
  void hang() {
    isHanging_ = true;
    connection_->leaveEventLoop();
  }
  [[nodiscard]] bool isHanging() const { return isHanging_; }
  /// Runs `action` whenever a discovery starts.
  void whenDiscovering(std::function<void()> action) { discovering_ = std::move(action); }

  /// The requests so far: "le+duplicates start stop".
  [[nodiscard]] std::string requests() const;

 private:
  void startDiscovery(const sdbus::Result<>& result);
  void publish(std::unique_ptr<sdbus::IObject> object, const std::string& interface);
  void remove(const std::string& path, const std::string& interface);
  static void change(sdbus::IObject& object, const std::string& interface,
                     const Properties& properties, const std::vector<std::string>& withdrawn = {});

  bool isHanging_ = false;
  mutable std::mutex mutex_;
  std::string requested_;
  std::vector<std::string> refusals_;
  std::function<void()> discovering_ = [] {};
  std::unique_ptr<sdbus::IConnection> connection_;
  std::map<std::string, std::unique_ptr<sdbus::IObject>> objects_;
};

}  // namespace nimbrel::testing_support
