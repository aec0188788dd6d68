#include "Classes/NimbrelPlugin.hpp"
#include "Classes/model/EncodableAccess.hpp"

namespace nimbrel {

void NimbrelPlugin::startDetection(const FlutterResult& result) {
  if (locationManager == nullptr) {
    result(false);
    return;
  }
  if (!isAuthorized()) {
    result(false);
    return;
  }
  if (isScanning) {
    result(true);
    return;
  }
  if (currentBeaconFilters.empty()) {
    startGenericBLEScanning();
  } else {
    startBeaconMonitoring();
  }
  isScanning = true;
  result(true);
}

void NimbrelPlugin::stopDetection(const FlutterResult& result) {
  if (locationManager == nullptr) {
    result(false);
    return;
  }
  for (const auto& region : locationManager->monitoredRegions()) {
    if (const auto* beaconRegion = dynamic_cast<const CLBeaconRegion*>(region.get())) {
      locationManager->stopMonitoringFor(*beaconRegion);
      locationManager->stopRangingBeaconsIn(*beaconRegion);
    }
  }
  if (bluetoothManager != nullptr) {
    bluetoothManager->stopScan();
  }
  isScanning = false;
  result(true);
}

void NimbrelPlugin::updateConfig(const FlutterMethodCall& call, const FlutterResult& result) {
  const EncodableMap* map = call.arguments.has_value() ? textKeyedMap(*call.arguments) : nullptr;
  const bool* foreground = map != nullptr ? valueFor<bool>(*map, "isInForeground") : nullptr;
  if (foreground == nullptr) {
    result(false);
    return;
  }
  isInForeground = *foreground;
  result(true);
}

}  // namespace nimbrel
