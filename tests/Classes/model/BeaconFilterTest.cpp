#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Classes/model/BeaconFilter.hpp"

namespace nimbrel {
namespace {

BeaconFilter filterWith(PlainLiteral key, EncodableValue value) {
  EncodableMap map;
  map.emplace_back("uuid", "e2c56db5-dffb-48d2-b060-d0f5a71096e0");
  map.emplace_back(key, std::move(value));
  return *BeaconFilter::from(map);
}

TEST(BeaconFilter, TakesEveryNumberThatConvertsTo64BitsWithoutLoss) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  const std::vector<std::pair<EncodableValue, std::int64_t>> cases = {
      {std::int64_t{70000}, 70000},
      {kMost, kMost},
      {5.0, 5},
      {-0.0, 0},
      {-9223372036854775808.0, kLeast},
      {9223372036854774784.0, 9223372036854774784},
      // None of the following converts.
      {9223372036854775808.0, BeaconFilter::kAny},
      {-9223372036854777856.0, BeaconFilter::kAny},
      {5.5, BeaconFilter::kAny},
      {std::nan(""), BeaconFilter::kAny},
      {std::numeric_limits<double>::infinity(), BeaconFilter::kAny},
      {true, BeaconFilter::kAny},
      {"5", BeaconFilter::kAny},
      {std::monostate{}, BeaconFilter::kAny},
      {EncodableBytes{5}, BeaconFilter::kAny},
  };
  for (std::size_t index = 0; index < cases.size(); ++index) {
    EXPECT_EQ(filterWith("majorId", cases[index].first).majorId(), cases[index].second) << index;
    EXPECT_EQ(filterWith("minorId", cases[index].first).minorId(), cases[index].second) << index;
  }
  EXPECT_EQ(filterWith("majorIds", std::int64_t{5}).majorId(), BeaconFilter::kAny);
}

TEST(BeaconFilter, AcceptsItsOwnNumbersAndEveryNumberWhereItHasMinusOne) {
  const std::string uuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";
  const std::tuple<std::int64_t, std::int64_t, bool> cases[] = {
      {1, 1, true},       {1, 0, false}, {0, 0, true},      {0, 1, false},  {65535, 65535, true},
      {65535, -1, false}, {-1, 0, true}, {-1, 65535, true}, {-2, 0, false}, {-2, 65534, false}};
  for (const auto& [wanted, sent, isAccepted] : cases) {
    EXPECT_EQ(filterWith("majorId", wanted).accepts(uuid, sent, 7), isAccepted) << wanted << sent;
    EXPECT_EQ(filterWith("minorId", wanted).accepts(uuid, 7, sent), isAccepted) << wanted << sent;
  }
  EXPECT_FALSE(
      filterWith("majorId", std::int64_t{1}).accepts("F2C56DB5-DFFB-48D2-B060-D0F5A71096E0", 1, 0));
}

}  // namespace
}  // namespace nimbrel
