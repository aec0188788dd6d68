#include "tests/support/FakeBluez.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

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

}  // namespace

PrivateBus::PrivateBus(const std::string& rule) {
  folder = (std::filesystem::temp_directory_path() / "nimbrel-bus-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    std::abort();
  }
  std::ofstream(folder + "/bus.conf") << R"(<!DOCTYPE busconfig PUBLIC
    "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
    "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
    <busconfig><listen>unix:path=)" << folder
                                      << R"(/socket</listen><policy context="default">
    <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/><allow user="*"/>)"
                                      << rule << "</policy></busconfig>";
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder + "/socket").c_str(), 1);
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  std::filesystem::remove_all(folder);
}

void PrivateBus::start() {
  std::array<int, 2> ready{};
  if (pipe(ready.data()) != 0) {
    std::abort();
  }
  daemon = fork();
  if (daemon == 0) {
    dup2(ready[1], STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    execlp("dbus-daemon", "dbus-daemon", ("--config-file=" + folder + "/bus.conf").c_str(),
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
  if (daemon != 0) {
    kill(daemon, SIGKILL);
    waitpid(std::exchange(daemon, 0), nullptr, 0);
  }
}

FakeBluez::FakeBluez() : connection(sdbus::createSystemBusConnection("org.bluez")) {
  connection->addObjectManager("/", sdbus::floating_slot);
  connection->enterEventLoopAsync();
}

FakeBluez::~FakeBluez() {
  connection->leaveEventLoop();
  objects.clear();
}

void FakeBluez::addAdapter(const std::string& name, bool isPowered) {
  auto object = sdbus::createObject(*connection, "/org/bluez/" + name);
  object->registerProperty("Powered").onInterface(kAdapter).withGetter([=] { return isPowered; });
  object->registerMethod("SetDiscoveryFilter")
      .onInterface(kAdapter)
      .implementedAs([this](const Properties& filter) {
        const std::lock_guard lock(mutex);
        requested += filter.at("Transport").get<std::string>() +
                     (filter.at("DuplicateData").get<bool>() ? "+duplicates " : " ");
      });
  object->registerMethod("StartDiscovery").onInterface(kAdapter).implementedAs([this] {
    startDiscovery();
  });
  object->registerMethod("StopDiscovery").onInterface(kAdapter).implementedAs([this] {
    const std::lock_guard lock(mutex);
    requested += "stop ";
  });
  publish(std::move(object), kAdapter);
}

void FakeBluez::startDiscovery() {
  {
    const std::lock_guard lock(mutex);
    requested += "start ";
    if (!refusals.empty()) {
      const std::string error = refusals.front();
      refusals.erase(refusals.begin());
      throw sdbus::Error(error, "refused");
    }
  }
  discovering();
}

void FakeBluez::addDevice(const std::string& path, const Device& device) {
  objects.erase("/org/bluez/" + path);
  auto object = sdbus::createObject(*connection, "/org/bluez/" + path);
  object->registerProperty("Address").onInterface(kDevice).withGetter(
      [address = device.address] { return address; });
  object->registerProperty("AddressType").onInterface(kDevice).withGetter([] {
    return std::string("random");
  });
  if (device.rssi.has_value()) {
    object->registerProperty("RSSI").onInterface(kDevice).withGetter(
        [rssi = *device.rssi] { return rssi; });
  }
  std::map<std::uint16_t, sdbus::Variant> companies;
  for (const auto& [company, data] : device.manufacturerData) {
    companies.emplace(company, data);
  }
  object->registerProperty("ManufacturerData").onInterface(kDevice).withGetter([companies] {
    return companies;
  });
  publish(std::move(object), kDevice);
}

void FakeBluez::publish(std::unique_ptr<sdbus::IObject> object, const std::string& interface) {
  object->finishRegistration();
  object->emitInterfacesAddedSignal({interface});
  objects[object->getObjectPath()] = std::move(object);
}

void FakeBluez::remove(const std::string& path) {
  objects.at(path)->emitInterfacesRemovedSignal({kAdapter});
  objects.erase(path);
}

void FakeBluez::changeAdapter(const std::string& name, const Properties& properties) {
  change("/org/bluez/" + name, kAdapter, properties);
}

void FakeBluez::changeDevice(const std::string& path, const Properties& properties) {
  change("/org/bluez/" + path, kDevice, properties);
}

void FakeBluez::change(const std::string& path, const std::string& interface,
                       const Properties& properties) {
  sdbus::IObject& object = *objects.at(path);
  auto signal = object.createSignal("org.freedesktop.DBus.Properties", "PropertiesChanged");
  signal << interface << properties << std::vector<std::string>();
  object.emitSignal(signal);
}

std::string FakeBluez::requests() const {
  const std::lock_guard lock(mutex);
  return requested.substr(0, requested.size() - (requested.empty() ? 0 : 1));
}

}  // namespace nimbrel::testing_support
