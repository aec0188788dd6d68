#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Classes/model/BeaconFilter.hpp"

namespace nimbrel {
namespace {

BeaconFilter filterWith(const char* key, EncodableValue value) {
  EncodableMap map;
  map.emplace_back("uuid", "e2c56db5-dffb-48d2-b060-d0f5a71096e0");
  map.emplace_back(key, std::move(value));
  return *BeaconFilter::from(map);
}

TEST(BeaconFilter, TakesEveryNumberThatConvertsTo64BitsWithoutLoss) {
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  const std::vector<std::pair<EncodableValue, std::int64_t>> cases = {
      {std::int64_t{70000}, 70000},
      {most, most},
      {5.0, 5},
      {-0.0, 0},
      {-9223372036854775808.0, least},
      {9223372036854774784.0, 9223372036854774784},
      // From here on, none converts.
      {9223372036854775808.0, BeaconFilter::any},
      {-9223372036854777856.0, BeaconFilter::any},
      {5.5, BeaconFilter::any},
      {std::nan(""), BeaconFilter::any},
      {std::numeric_limits<double>::infinity(), BeaconFilter::any},
      {true, BeaconFilter::any},
      {"5", BeaconFilter::any},
      {std::monostate{}, BeaconFilter::any},
      {EncodableBytes{5}, BeaconFilter::any},
  };
  for (std::size_t index = 0; index < cases.size(); ++index) {
    EXPECT_EQ(filterWith("majorId", cases[index].first).majorId(), cases[index].second) << index;
    EXPECT_EQ(filterWith("minorId", cases[index].first).minorId(), cases[index].second) << index;
  }
}

TEST(BeaconFilter, AcceptsBeaconsOfItsUuidAndOfItsNumbersUnlessTheyAreAny) {
  const BeaconFilter filter = filterWith("majorId", std::int64_t{1});
  const std::string uuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";
  EXPECT_TRUE(filter.accepts(uuid, 1, 0));
  EXPECT_TRUE(filter.accepts(uuid, 1, 65535));
  EXPECT_FALSE(filter.accepts(uuid, 2, 0));
  EXPECT_FALSE(filter.accepts("F2C56DB5-DFFB-48D2-B060-D0F5A71096E0", 1, 0));
}

TEST(BeaconFilter, AppendsItsTextsToTheLineThatIsGiven) {
  EXPECT_EQ(filterWith("majorId", std::int64_t{-7}).description("> "),
            "> UUID: E2C56DB5... Major:-7");
  EXPECT_EQ(filterWith("identifier", "Lobby").fullDescription("> "),
            "> Identifier: Lobby, UUID: E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");
}

}  // namespace
}  // namespace nimbrel
