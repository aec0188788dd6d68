#include "tests/support/FakeBluez.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

namespace nimbrel::testing_support {

namespace {

constexpr auto kAdapter = "org.bluez.Adapter1";
constexpr auto kDevice = "org.bluez.Device1";

using sdbus_series::addMethod;
using sdbus_series::addObjectManager;
using sdbus_series::addProperty;
using sdbus_series::finish;

std::unique_ptr<sdbus::IObject> makeObject(sdbus::IConnection& connection,
                                           const std::string& path) {
  return sdbus::createObject(connection, sdbus::ObjectPath("/org/bluez/" + path));
}

}  // namespace

PrivateBus::PrivateBus(const std::string& rule) {
  folder_ = (std::filesystem::temp_directory_path() / "nimbrel-bus-XXXXXX").string();
  if (mkdtemp(folder_.data()) == nullptr) {
    std::abort();
  }
  std::ofstream(folder_ + "/bus.conf") << R"(<!DOCTYPE busconfig PUBLIC
    "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
    "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
    <busconfig><listen>unix:path=)" << folder_
                                       << R"(/socket</listen><policy context="default">
    <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/><allow user="*"/>)"
                                       << rule << "</policy></busconfig>";
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder_ + "/socket").c_str(), 1);
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  std::filesystem::remove_all(folder_);
}

void PrivateBus::start() {
  std::array<int, 2> ready{};
  if (pipe(ready.data()) != 0) {
    std::abort();
  }
  daemon_ = fork();
  if (daemon_ == 0) {
    dup2(ready[1], STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    execlp("dbus-daemon", "dbus-daemon", ("--config-file=" + folder_ + "/bus.conf").c_str(),
           "--nofork", "--print-address", nullptr);
    _exit(127);
  }
  close(ready[1]);
  char first = 0;
  if (read(ready[0], &first, 1) != 1) {
    std::abort();
  }
  close(ready[0]);
}

void PrivateBus::stop() {
  if (daemon_ != 0) {
    kill(daemon_, SIGKILL);
    waitpid(std::exchange(daemon_, 0), nullptr, 0);
  }
}

void PrivateBus::settle() {
  std::unique_ptr<sdbus::IConnection> connection;
  try {
    connection = sdbus::createSystemBusConnection();
  } catch (const sdbus::Error&) {
    return;  // The bus is gone: so is all that was on its way.
  }
  const auto daemon = sdbus::createProxy(*connection, sdbus_series::ServiceName("org.bluez"),
                                         sdbus::ObjectPath("/"));
  // The bus serves its clients in turns: a question, its answer, and what follows from that.
  for (int turn = 0; turn < 3; ++turn) {
    try {
      daemon->callMethod("Ping").onInterface("org.freedesktop.DBus.Peer");
    } catch (const sdbus::Error&) {
      // The bus answers for a daemon that is not there.
    }
  }
}

int BusClock::wait(std::span<pollfd> descriptors, Time pause, std::optional<Time> patience) {
  const auto look = [&] { return poll(descriptors.data(), descriptors.size(), 0); };
  const Time wait = std::min(pause, patience.value_or(pause));
  int ready = look();
  if (ready == 0 && wait > Time::zero()) {
    settle_();
    ready = look();
  }
  if (ready == 0) {
    now_ += wait;
  }
  return ready;
}

FakeBluez::FakeBluez()
    : connection_(sdbus::createSystemBusConnection(sdbus_series::ServiceName("org.bluez"))) {
  addObjectManager(*connection_);
  connection_->enterEventLoopAsync();
}

FakeBluez::~FakeBluez() {
  connection_->leaveEventLoop();
  objects_.clear();
}

void FakeBluez::addAdapter(const std::string& name, bool isPowered, bool takesMonitors) {
  auto object = makeObject(*connection_, name);
  addProperty(*object, kAdapter, "Powered", [=] { return isPowered; });
  addMethod(*object, kAdapter, "SetDiscoveryFilter", [this](const Properties& filter) {
    const std::lock_guard lock(mutex_);
    requested_ += filter.at("Transport").get<std::string>() +
                  (filter.at("DuplicateData").get<bool>() ? "+duplicates " : " ");
  });
  addMethod(*object, kAdapter, "StartDiscovery",
            [this](sdbus::Result<>&& result) { startDiscovery(result); });
  if (takesMonitors) {
    addMethod(*object, "org.bluez.AdvertisementMonitorManager1", "RegisterMonitor",
              [this](const sdbus::ObjectPath& path) {
                const std::lock_guard lock(mutex_);
                requested_ += "monitors:" + path + " ";
              });
  }
  addMethod(*object, kAdapter, "StopDiscovery", [this] {
    const std::lock_guard lock(mutex_);
    requested_ += "stop ";
  });
  publish(std::move(object), kAdapter);
}

void FakeBluez::startDiscovery(const sdbus::Result<>& result) {
  {
    const std::lock_guard lock(mutex_);
    requested_ += "start ";
    if (!refusals_.empty()) {
      const std::string error = refusals_.front();
      refusals_.erase(refusals_.begin());
      return result.returnError(sdbus::Error(sdbus_series::ErrorName(error), "refused"));
    }
  }
  // As the daemon does, it answers before the first device is heard.
  result.returnResults();
  discovering_();
}

void FakeBluez::addDevice(const std::string& path, const Device& device) {
  objects_.erase("/org/bluez/" + path);
  auto object = makeObject(*connection_, path);
  addProperty(*object, kDevice, "Address", [address = device.address] { return address; });
  addProperty(*object, kDevice, "AddressType", [] { return std::string("random"); });
  if (device.rssi.has_value()) {
    addProperty(*object, kDevice, "RSSI", [rssi = *device.rssi] { return rssi; });
  }
  std::map<std::uint16_t, sdbus::Variant> companies;
  for (const auto& [company, data] : device.manufacturerData) {
    companies.emplace(company, data);
  }
  addProperty(*object, kDevice, "ManufacturerData", [companies] { return companies; });
  publish(std::move(object), kDevice);
}

void FakeBluez::publish(std::unique_ptr<sdbus::IObject> object, const std::string& interface) {
  finish(*object);
  object->emitInterfacesAddedSignal({sdbus_series::InterfaceName(interface)});
  objects_[object->getObjectPath()] = std::move(object);
}

void FakeBluez::remove(const std::string& path, const std::string& interface) {
  objects_.at(path)->emitInterfacesRemovedSignal({sdbus_series::InterfaceName(interface)});
  objects_.erase(path);
}

void FakeBluez::changeAdapter(const std::string& name, const Properties& properties) {
  change(*objects_.at("/org/bluez/" + name), kAdapter, properties);
}

void FakeBluez::changeDevice(const std::string& path, const Properties& properties,
                             const std::vector<std::string>& withdrawn) {
  change(*objects_.at("/org/bluez/" + path), kDevice, properties, withdrawn);
}

void FakeBluez::changeUnknown(const std::string& path, const Properties& properties) {
  change(*makeObject(*connection_, path), kDevice, properties);
}

void FakeBluez::change(sdbus::IObject& object, const std::string& interface,
                       const Properties& properties, const std::vector<std::string>& withdrawn) {
  auto signal = object.createSignal(sdbus_series::InterfaceName("org.freedesktop.DBus.Properties"),
                                    sdbus_series::SignalName("PropertiesChanged"));
  signal << interface << properties << withdrawn;
  object.emitSignal(signal);
}

std::string FakeBluez::requests() const {
  const std::lock_guard lock(mutex_);
  return requested_.substr(0, requested_.size() - (requested_.empty() ? 0 : 1));
}

}  // namespace nimbrel::testing_support
