#include <gtest/gtest.h>

#include "host/bluez/SilenceWatch.hpp"

namespace nimbrel {
namespace {

using Step = SilenceWatch::Step;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

/// A watch whose last report came at `last`.
SilenceWatch heard(int reports, MainQueue::Time last, MainQueue::Time interval) {
  SilenceWatch watch;
  watch.reset(last - reports * interval);
  for (int count = reports - 1; count >= 0; --count) {
    watch.heard(last - count * interval);
  }
  return watch;
}

TEST(SilenceWatch, RestartsAfterABusyMinuteAndThenAdvises) {
  SilenceWatch watch = heard(60, minutes(5), milliseconds(900));
  EXPECT_EQ(watch.check(minutes(5) + milliseconds(14'999)), Step::none);
  EXPECT_EQ(watch.check(minutes(5) + seconds(15)), Step::restart);
  EXPECT_EQ(watch.check(minutes(5) + seconds(16)), Step::none);
  EXPECT_EQ(watch.check(minutes(5) + milliseconds(29'999)), Step::none);
  EXPECT_EQ(watch.check(minutes(5) + seconds(30)), Step::advise);
  EXPECT_EQ(watch.check(minutes(9)), Step::none);
  watch.heard(minutes(10));
  EXPECT_EQ(watch.check(minutes(10) + seconds(59)), Step::none) << "it was not busy again";
  EXPECT_EQ(watch.check(minutes(11)), Step::ask);
}

TEST(SilenceWatch, TakesABusyMinuteBeforeTheCurrentOneAndForgetsAnOlderOne) {
  SilenceWatch watch = heard(70, minutes(5), milliseconds(850));
  watch.heard(minutes(5) + seconds(14));
  EXPECT_EQ(watch.check(minutes(5) + seconds(29)), Step::restart);
  watch = heard(70, minutes(5), milliseconds(850));
  watch.heard(minutes(8));
  EXPECT_EQ(watch.check(minutes(8) + seconds(15)), Step::none);
}

TEST(SilenceWatch, AsksOnceWhereLittleIsHeard) {
  SilenceWatch watch = heard(59, minutes(5), milliseconds(900));
  EXPECT_EQ(watch.check(minutes(5) + seconds(30)), Step::none);
  EXPECT_EQ(watch.check(minutes(6)), Step::ask);
  EXPECT_EQ(watch.check(minutes(9)), Step::none);
  watch.heard(minutes(10));
  EXPECT_EQ(watch.check(minutes(12)), Step::none) << "it has asked";
}

TEST(SilenceWatch, BeginsAnewWhenReset) {
  SilenceWatch watch = heard(60, minutes(5), milliseconds(900));
  watch.reset(minutes(6));
  EXPECT_EQ(watch.check(minutes(6) + seconds(59)), Step::none);
  EXPECT_EQ(watch.check(minutes(7)), Step::ask);
}

}  // namespace
}  // namespace nimbrel
