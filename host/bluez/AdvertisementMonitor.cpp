#include "host/bluez/AdvertisementMonitor.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace nimbrel {

std::unique_ptr<sdbus::IObject> makeAdvertisementMonitor(SystemBus& bus) {
  constexpr auto kInterface = "org.bluez.AdvertisementMonitor1";
  // Where in the data of which type of structure, and what. Apple's company number comes first.
  using Pattern = sdbus::Struct<std::uint8_t, std::uint8_t, std::vector<std::uint8_t>>;
  constexpr std::uint8_t kStart = 0;
  constexpr std::uint8_t kManufacturerSpecific = 0xFF;
  const Pattern pattern{kStart, kManufacturerSpecific,
                        std::vector<std::uint8_t>{0x4C, 0x00, 0x02, 0x15}};

  auto object = bus.make("/nimbrel/monitor");
  sdbus_series::addProperty(*object, kInterface, "Type", [] { return std::string("or_patterns"); });
  sdbus_series::addProperty(*object, kInterface, "Patterns",
                            [pattern] { return std::vector{pattern}; });
  for (const auto* const method : {"Activate", "Release"}) {
    sdbus_series::addMethod(*object, kInterface, method, [] {});
  }
  for (const auto* const method : {"DeviceFound", "DeviceLost"}) {
    sdbus_series::addMethod(*object, kInterface, method, [](const sdbus::ObjectPath&) {});
  }
  sdbus_series::finish(*object);
  return object;
}

}  // namespace nimbrel
