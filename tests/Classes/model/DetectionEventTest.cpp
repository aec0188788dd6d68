#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

TEST(EncodableMap, EqualsOneOfTheSameEntriesInAnyOrderHoweverTheirTextsAreHeld) {
  const EncodableMap map{{"one", PlainText("1")}, {EncodableValue("two"), "2"}};
  EncodableMap other{{"two", PlainText("2")}, {EncodableValue("one"), "1"}};
  EXPECT_EQ(map, other);
  other.emplace_back(EncodableValue(), true);
  EXPECT_FALSE(map == other);
  const EncodableMap values[] = {{{"one", PlainText("1")}, {"two", PlainText("3")}},
                                 {{"one", PlainText("1")}, {"three", PlainText("2")}},
                                 {{"one", PlainText("1")}, {EncodableValue(), PlainText("2")}}};
  for (const EncodableMap& each : values) {
    EXPECT_FALSE(map == each);
  }
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
