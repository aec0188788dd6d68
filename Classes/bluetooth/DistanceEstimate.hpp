#pragma once

namespace nimbrel {

/// The distance in metres at which a beacon of `txPower` dBm at one metre is received with `rssi`
/// dBm; -1.0 where `rssi` is 0 and nothing can be said. The curve was fitted to readings of a
/// phone: a power of the ratio below one metre, another beyond.
double estimateDistance(double rssi, double txPower);

}  // namespace nimbrel
