#include "Classes/bluetooth/DistanceEstimate.hpp"

#include <cmath>

namespace nimbrel {

double estimateDistance(double rssi, double txPower) {
  if (rssi == 0.0) {
    return -1.0;
  }
  const double ratio = rssi / txPower;
  if (ratio < 1.0) {
    return std::pow(ratio, 10.0);
  }
  return 0.89976 * std::pow(ratio, 7.7095) + 0.111;
}

}  // namespace nimbrel
