#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "host/base/WallClock.hpp"

namespace nimbrel {
namespace {

TEST(WallClock, ReadsInTheMachinesZoneOrInUtc) {
  setenv("TZ", "CET-1:30", 1);
  tzset();
  const std::chrono::milliseconds reading(1'700'000'000'987);
  EXPECT_EQ(WallClock(false).dateAndTime(reading), "2023-11-14 23:43:20.987");
  EXPECT_EQ(WallClock(false).zone(reading), "CET");
  EXPECT_EQ(WallClock(true).zone(reading), "UTC");
  EXPECT_EQ(WallClock(true).dateAndTime(reading), "2023-11-14 22:13:20.987");
  EXPECT_EQ(WallClock(true).dateAndTime(std::chrono::milliseconds(-1)), "1969-12-31 23:59:59.999");
}

}  // namespace
}  // namespace nimbrel
