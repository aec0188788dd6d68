#pragma once

#include <sdbus-c++/sdbus-c++.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace nimbrel::testing_support {

/// A message bus of the test's own, which stands in for the system's.
class PrivateBus {
 public:
  /// `rule` is one more rule of the bus's policy.
  explicit PrivateBus(const std::string& rule = "");
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  void start();
  void stop();

 private:
  std::string folder;
  pid_t daemon = 0;
};

/// A Bluetooth daemon without radios, on the bus that stands in for the system's. It answers in a
/// thread of its own, as another program would.
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

  void addAdapter(const std::string& name, bool isPowered = true);
  void removeAdapter(const std::string& name) { remove("/org/bluez/" + name); }
  void changeAdapter(const std::string& name, const Properties& properties);

  /// `path` is "hci0/dev_1".
  void addDevice(const std::string& path, const Device& device);
  void changeDevice(const std::string& path, const Properties& properties);

  /// What the next requests for a discovery are refused with.
  void refuse(std::vector<std::string> errors) { refusals = std::move(errors); }
  /// Has `action` happen whenever a discovery starts.
  void whenDiscovering(std::function<void()> action) { discovering = std::move(action); }

  /// The requests so far: "le+duplicates start stop".
  [[nodiscard]] std::string requests() const;

 private:
  void startDiscovery();
  void publish(std::unique_ptr<sdbus::IObject> object, const std::string& interface);
  void remove(const std::string& path);
  void change(const std::string& path, const std::string& interface, const Properties& properties);

  mutable std::mutex mutex;
  std::string requested;
  std::vector<std::string> refusals;
  std::function<void()> discovering = [] {};
  std::unique_ptr<sdbus::IConnection> connection;
  std::map<std::string, std::unique_ptr<sdbus::IObject>> objects;
};

}  // namespace nimbrel::testing_support
