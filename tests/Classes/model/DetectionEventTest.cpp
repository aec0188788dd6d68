#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Classes/bluetooth/DistanceEstimate.hpp"
#include "Classes/model/DetectionEvent.hpp"

namespace nimbrel {
namespace {

TEST(ProximityWord, HasStrictBounds) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<double, std::string_view>> cases = {
      {-1.0, "unknown"},
      {-1e-300, "unknown"},
      {-0.0, "immediate"},
      {0.0, "immediate"},
      {0.49, "immediate"},
      {0.5, "near"},
      {std::nextafter(4.0, 0.0), "near"},
      {4.0, "far"},
      {kInfinity, "far"},
      {std::nan(""), "far"},
  };
  for (const auto& [distance, word] : cases) {
    EXPECT_EQ(proximityWord(distance), word) << distance;
  }
}

TEST(DistanceEstimate, ChangesItsCurveAtOneMetre) {
  const std::vector<std::pair<double, double>> cases = {{-50.0, 0.191064}, {-59.0, 1.01076},
                                                        {-65.0, 2.009448}, {-70.0, 3.472448},
                                                        {-80.0, 9.521558}, {0.0, -1.0}};
  for (const auto& [rssi, metres] : cases) {
    EXPECT_NEAR(estimateDistance(rssi, -59.0), metres, 1e-5) << rssi;
  }
  EXPECT_TRUE(std::isinf(estimateDistance(-60.0, 0.0)));
}

TEST(DetectionEvent, BecomesAMapOfElevenKeysInAnyOrder) {
  DetectionEvent event{1, "i", "u", 2, 3, "n", "m", -4.0, -5.0, 6.0, "far"};
  const EncodableMap map = std::move(event).toMap();
  EncodableMap expected{{"proximity", "far"},
                        {"distance", 6.0},
                        {"txPower", -5.0},
                        {"rssi", -4.0},
                        {"mac", "m"},
                        {"name", "n"},
                        {"minorId", std::int64_t{3}},
                        {"majorId", std::int64_t{2}},
                        {"uuid", "u"},
                        {"identifier", "i"},
                        {"ts", std::int64_t{1}}};
  EXPECT_TRUE(map == expected);
  expected.emplace_back("more", true);
  EXPECT_FALSE(map == expected);
}

TEST(Timestamp, DropsTheFractionAndStaysWithin64Bits) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  const std::vector<std::pair<double, std::int64_t>> cases = {{1700000000.9876, 1700000000987},
                                                              {-0.0019, -1},
                                                              {1e300, kMost},
                                                              {-1e300, kLeast},
                                                              {0.0, 0},
                                                              {std::nan(""), kLeast}};
  for (const auto& [seconds, milliseconds] : cases) {
    EXPECT_EQ(timestampFrom(seconds), milliseconds) << seconds;
  }
}

}  // namespace
}  // namespace nimbrel
