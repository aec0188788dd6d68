#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

namespace {

std::string_view lineFor(CBManagerState state) {
  switch (state) {
    case CBManagerState::resetting:
      return "🔄 Bluetooth restarting";
    case CBManagerState::unsupported:
      return "❌ Bluetooth not supported";
    case CBManagerState::unauthorized:
      return "🚫 Unauthorized Bluetooth";
    case CBManagerState::poweredOff:
      return "❌ Bluetooth is off";
    case CBManagerState::poweredOn:
      return "✅ Bluetooth is on and ready";
    case CBManagerState::unknown:
      break;
  }
  return "❓Unknown Bluetooth status";
}

}  // namespace

void NimbrelPlugin::startGenericBLEScanning() {
  if (bluetoothManager == nullptr || bluetoothManager->state() != CBManagerState::poweredOn) {
    log("Bluetooth is not available for generic scanning");
    return;
  }
  log("Starting generic BLE scan to detect all beacons");
  bluetoothManager->scanForPeripherals(std::nullopt, {.allowDuplicates = false});
}

void NimbrelPlugin::centralManagerDidUpdateState(CBCentralManager& central) {
  const CBManagerState state = central.state();
  log(lineFor(state));
  if (state == CBManagerState::poweredOn && isScanning) {
    startGenericBLEScanning();
  }
}

}  // namespace nimbrel
