#include <array>
#include <cstddef>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

void NimbrelPlugin::registerWith(FlutterPluginRegistrar& registrar, Platform& platform) {
  registerWith(registrar, [&platform] { return std::make_shared<NimbrelPlugin>(platform); });
}

void NimbrelPlugin::registerWith(FlutterPluginRegistrar& registrar, const Builder& build) {
  const auto methods = registrar.messenger().methodChannelWithName("com.quorvane.nimbrel/methods");
  const auto events = registrar.messenger().eventChannelWithName("com.quorvane.nimbrel/events");
  const auto plugin = build();
  registrar.addMethodCallDelegate(plugin, *methods);
  events->setStreamHandler(plugin);
  plugin->locationManager = plugin->platform.makeLocationManager();
  if (plugin->locationManager != nullptr) {
    plugin->locationManager->setDelegate(plugin);
    plugin->locationManager->setDesiredAccuracy(kCLLocationAccuracyBest);
  }
  plugin->bluetoothManager = plugin->platform.makeCentralManager(plugin);
}

NimbrelPlugin::NimbrelPlugin(Platform& device) : platform(device) {}

void NimbrelPlugin::log(std::initializer_list<std::string_view> parts) const {
  if (parts.size() == 1) {
    platform.print(*parts.begin());
    return;
  }
  std::size_t size = 0;
  for (const std::string_view part : parts) {
    size += part.size();
  }
  // Nearly every line is short, and then costs no allocation; a label or a name may be of any
  // length.
  std::array<char, 256> shortLine;
  std::string longLine;
  char* line = shortLine.data();
  if (size > shortLine.size()) {
    longLine.resize(size);
    line = longLine.data();
  }
  char* end = line;
  for (const std::string_view part : parts) {
    end += part.copy(end, part.size());
  }
  platform.print({line, size});
}

}  // namespace nimbrel
