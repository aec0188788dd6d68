#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/air/HciEvents.hpp"
#include "tests/air/Bytes.hpp"

namespace nimbrel {
namespace {

using Heard = std::vector<std::string>;

/// An extended report of the device 112233445566 from its advertising set `set`.
Bytes extended(const std::string& eventType, const std::string& addressType,
               const std::string& data, std::uint8_t set = 1) {
  return hex(eventType + addressType + "665544332211 01 02") + little(1, set) +
         hex("7F C4 0000 00 000000000000") + withLength(hex(data));
}

class HciEventsOf : public testing::Test {
 protected:
  Heard heard(const Bytes& bytes) {
    Heard lines;
    events.begin({}, bytes);
    for (Advertisement advertisement; events.next(advertisement);) {
      lines.push_back(inWords(advertisement));
    }
    return lines;
  }
  Heard heardExtended(const Bytes& report) { return heard(event(hex("0D 01") + report)); }

  HciEvents events;
};

TEST_F(HciEventsOf, LegacyReports) {
  const std::string first = "00 01 665544332211 03 020106 C4";
  struct {
    const char* what;
    std::string parameters;
    Heard expected;
  } const cases[] = {
      {"one", "02 01" + first, {"112233445566 random -60 020106"}},
      {"several",
       "02 03" + first + "04 00 060504030201 02 0109 B0 03 01 665544332211 00 7F",
       {"112233445566 random -60 020106", "010203040506 public -80 response 0109",
        "112233445566 random 127 "}},
      {"resolved identities",
       "02 02 00 02 665544332211 00 C4 00 03 665544332211 00 C4",
       {"112233445566 public -60 ", "112233445566 random -60 "}},
      {"reserved types are passed over",
       "02 03 05 01 665544332211 00 C4 00 04 665544332211 00 C4" + first,
       {"112233445566 random -60 020106"}},
      {"directed advertising is passed over",
       "02 02 01 01 665544332211 00 C4" + first,
       {"112233445566 random -60 020106"}},
      {"fewer than announced", "02 05" + first, {"112233445566 random -60 020106"}},
      {"no signal strength", "02 01 00 01 665544332211 02 0106", {"112233445566 random 127 0106"}},
      {"data that overruns",
       "02 02 00 01 665544332211 1F 020106",
       {"112233445566 random 127 020106"}},
      {"no room for the fields", "02 01 00 01 6655443322", {}},
      {"another subevent", "01 01" + first, {}},
      {"nothing", "", {}},
  };
  for (const auto& [what, parameters, expected] : cases) {
    EXPECT_EQ(heard(event(hex(parameters))), expected) << what;
  }
  EXPECT_EQ(heard(hex("3E 0D 02 01" + first)), Heard{"112233445566 random 127 0201"})
      << "an event that says it is shorter ends there";
  EXPECT_EQ(heard(hex("0E 10 02 01" + first)), Heard{}) << "another event";
}

TEST_F(HciEventsOf, ExtendedReports) {
  struct {
    const char* what;
    Bytes report;
    Heard expected;
  } const cases[] = {
      {"extended", extended("0000", "01", "020106"), {"112233445566 random -60 020106"}},
      {"legacy", extended("1300", "00", "020106"), {"112233445566 public -60 020106"}},
      {"legacy scan response",
       extended("1B00", "01", "0109"),
       {"112233445566 random -60 response 0109"}},
      {"truncated by the controller",
       extended("4000", "01", "0201"),
       {"112233445566 random -60 0201"}},
      {"directed", extended("0400", "01", "020106"), {}},
      {"anonymous", extended("0000", "FF", "020106"), {}},
  };
  for (const auto& [what, report, expected] : cases) {
    EXPECT_EQ(heardExtended(report), expected) << what;
  }
  const auto two = extended("0000", "01", "0106") + extended("0000", "03", "0107");
  EXPECT_EQ(heard(event(hex("0D 02") + two)),
            (Heard{"112233445566 random -60 0106", "112233445566 random -60 0107"}));
}

TEST_F(HciEventsOf, PutsFragmentsTogetherForEachSetOfADevice) {
  EXPECT_EQ(heardExtended(extended("2000", "01", "AAAA", 1)), Heard{});
  EXPECT_EQ(heardExtended(extended("2000", "01", "DDDD", 2)), Heard{});
  EXPECT_EQ(heardExtended(extended("2800", "01", "EEEE", 1)), Heard{});
  EXPECT_EQ(heardExtended(extended("2000", "01", "BBBB", 1)), Heard{});
  EXPECT_EQ(heardExtended(extended("0000", "01", "CC", 1)),
            Heard{"112233445566 random -60 AAAABBBBCC"});
  EXPECT_EQ(heardExtended(extended("4000", "01", "", 2)), Heard{"112233445566 random -60 DDDD"});
  EXPECT_EQ(heardExtended(extended("0800", "01", "", 1)),
            Heard{"112233445566 random -60 response EEEE"});
  EXPECT_EQ(heardExtended(extended("0000", "01", "FF", 1)), Heard{"112233445566 random -60 FF"});
}

TEST_F(HciEventsOf, KeepsNoMoreFragmentsThanAnAdvertisementHas) {
  const std::string part(2 * 200, 'A');
  for (int i = 0; i < 20; ++i) heardExtended(extended("2000", "01", part));
  EXPECT_EQ(heardExtended(extended("0000", "01", part)),
            Heard{"112233445566 random -60 " + std::string(2 * 1650, 'A')});

  for (std::uint8_t set = 0; set < 100; ++set) heardExtended(extended("2000", "01", "AA", set));
  EXPECT_EQ(heardExtended(extended("0000", "01", "BB", 99)), Heard{"112233445566 random -60 AABB"});
  EXPECT_EQ(heardExtended(extended("0000", "01", "BB", 0)), Heard{"112233445566 random -60 BB"});
}

}  // namespace
}  // namespace nimbrel
