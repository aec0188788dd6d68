// Prints distances to the last bit, for a comparison of two builds.
#include <cstdio>

#include "Classes/bluetooth/DistanceEstimate.hpp"

int main() {
  for (int txPower = -100; txPower <= 20; ++txPower) {
    for (int rssi = -127; rssi <= 20; ++rssi) {
      std::printf("%d %d %a\n", txPower, rssi, nimbrel::estimateDistance(rssi, txPower));
    }
  }
}
