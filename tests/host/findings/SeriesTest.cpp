#include <gtest/gtest.h>

#include <sstream>

#include "host/findings/Series.hpp"

namespace nimbrel {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

/// "CELL:LEAST/SUM/MOST*COUNT" and "CELL!COUNT(SILENT) NEAREST..FARTHEST(PLACED)", in their order.
std::string shown(const Series& series, std::size_t device) {
  std::ostringstream out;
  for (const auto& each : series.of(device).readings) {
    out << each.cell << ":" << int{each.least} << "/" << each.sum << "/" << int{each.most} << "*"
        << each.count << " ";
  }
  for (const auto& each : series.of(device).detections) {
    out << each.cell << "!" << each.count << "(" << each.silent << ") " << each.nearest << ".."
        << each.farthest << "(" << each.placed << "," << each.distanceSum << ") ";
  }
  return out.str();
}

TEST(Series, SumsUpWhatFallsIntoOneCell) {
  Series series;
  series.heard(1, milliseconds(0), -65);
  series.heard(1, milliseconds(14), -70);
  series.heard(1, milliseconds(15), -60);
  series.heard(1, milliseconds(16), 127);
  series.heard(1, milliseconds(16), -90);
  series.detected(1, milliseconds(16), 0.0, -1.0);
  series.detected(1, milliseconds(17), -60.0, 2.0);
  series.detected(1, milliseconds(18), -61.0, 1.0);
  series.detected(1, milliseconds(19), -61.0, 4.0);
  EXPECT_EQ(shown(series, 1), "0:-70/-195/-60*3 1:-90/-90/-90*1 1!4(1) 1..4(3,7) ");
  EXPECT_EQ(series.of(1).detections[0].rssiSum, -182.0);
  EXPECT_EQ(shown(series, 0) + shown(series, 2), "");
}

TEST(Series, DoublesItsCellsInALongRun) {
  Series series;
  series.heard(0, milliseconds(0), -70);
  series.heard(0, milliseconds(20), -50);
  series.heard(0, milliseconds(40), -40);
  series.detected(0, milliseconds(20), -50.0, 1.0);
  series.detected(0, milliseconds(40), 0.0, -1.0);
  series.heard(1, milliseconds(63'999), -80);
  EXPECT_EQ(series.step(), std::chrono::microseconds(15'625));
  series.heard(1, milliseconds(64'000), -80);
  EXPECT_EQ(series.step(), std::chrono::microseconds(31'250));
  EXPECT_EQ(shown(series, 0),
            "0:-70/-120/-50*2 1:-40/-40/-40*1 0!1(0) 1..1(1,1) 1!1(1) 0..0(0,0) ");
  EXPECT_EQ(shown(series, 1), "2047:-80/-80/-80*1 2048:-80/-80/-80*1 ");
  series.heard(1, hours(24 * 365), -80);
  EXPECT_EQ(shown(series, 0), "0:-70/-160/-40*3 0!2(1) 1..1(1,1) ");
}

TEST(Series, TakesNoMoreMemoryThanForSoManyCells) {
  Series series;
  for (std::size_t device = 0; device < 2049; ++device) {
    EXPECT_EQ(series.step(), std::chrono::microseconds(15'625)) << device;
    for (int each = 0; each < 2048; ++each) {
      series.heard(device, milliseconds(16 * each), -70);
    }
  }
  EXPECT_EQ(series.step(), std::chrono::microseconds(31'250));
}

TEST(Series, IsSummedUpUntilItFits) {
  Series series;
  for (int each = 0; each < 8; ++each) {
    series.heard(0, milliseconds(16 * each), -70);
    series.detected(1, milliseconds(16 * each), -70, 1.0);
  }
  series.sumUp({}, 0);
  const std::vector<std::size_t> both{0, 1};
  series.sumUp(both, 16);
  EXPECT_EQ(series.of(0).readings.size(), 8U);
  series.sumUp(both, 15);
  EXPECT_EQ(series.of(0).readings.size(), 4U);
  EXPECT_EQ(series.of(1).detections.size(), 4U);
  series.sumUp(both, 0);
  EXPECT_EQ(shown(series, 0), "0:-70/-560/-70*8 ");
}

}  // namespace
}  // namespace nimbrel
