#include <cassert>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

void NimbrelPlugin::registerWith(FlutterPluginRegistrar& registrar, Platform& platform) {
  registerWith(registrar, [&platform] { return std::make_shared<NimbrelPlugin>(platform); });
}

void NimbrelPlugin::registerWith(FlutterPluginRegistrar& registrar, const Builder& build) {
  const auto methods = registrar.messenger().methodChannelWithName("com.quorvane.nimbrel/methods");
  const auto events = registrar.messenger().eventChannelWithName("com.quorvane.nimbrel/events");
  const auto plugin = build();
  assert(plugin != nullptr);
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

}  // namespace nimbrel
