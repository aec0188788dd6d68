#pragma once

#include <memory>

#include "host/bluez/SystemBus.hpp"

namespace nimbrel {

/// Makes the object that BlueZ's daemon asks what to watch for: iBeacon frames. What it finds comes
/// as properties of devices, as in a discovery. Destroy it before the bus.
///
/// While it is registered, Linux leaves the controller's filter of repeats off, in a discovery too.
/// Source: BlueZ's D-Bus API, interface org.bluez.AdvertisementMonitor1.
std::unique_ptr<sdbus::IObject> makeAdvertisementMonitor(SystemBus& bus);

}  // namespace nimbrel
