#pragma once

namespace nimbrel {

/// Estimates the distance in metres of a beacon received with `rssi` dBm, where `txPower` dBm would
/// be received at one metre. Returns -1.0 for an `rssi` of 0, which means that it is not known. The
/// curve is an empirical fit: one power of the ratio of the two below one metre, another above.
double estimateDistance(double rssi, double txPower);

}  // namespace nimbrel
