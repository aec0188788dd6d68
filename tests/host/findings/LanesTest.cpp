#include <gtest/gtest.h>

#include "host/findings/Lanes.hpp"

namespace nimbrel {
namespace {

using std::chrono::seconds;

TEST(Lanes, EndTheStayInARegionThatIsNoLongerMonitored) {
  Lanes lanes;
  const CLBeaconRegion region(UUID{}, "Desk");
  lanes.crossed(region, true, seconds(1));
  lanes.crossed(region, true, seconds(2));
  lanes.requested({"stopMonitoring", region, {}}, seconds(3));
  lanes.end(seconds(4));
  ASSERT_EQ(lanes.all().back().stretches.size(), 1U);
  EXPECT_EQ(lanes.all().back().stretches[0].to, seconds(3));
}

TEST(Lanes, CountTheStretchesBeyondAThousand) {
  Lanes lanes;
  for (int each = 0; each < 1002; ++each) {
    lanes.bluetoothChanged(each % 2 == 0 ? CBManagerState::poweredOn : CBManagerState::poweredOff,
                           seconds(each));
  }
  EXPECT_EQ(lanes.all()[0].stretches.size(), 1000U);
  EXPECT_EQ(lanes.all()[0].leftOut, 2U);
}

}  // namespace
}  // namespace nimbrel
