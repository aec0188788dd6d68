#include <gtest/gtest.h>

#include "host/air/HciEvents.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

using Heard = std::vector<std::string>;

/// What it shows, the parameters, and what is heard.
using Case = std::tuple<const char*, std::string, Heard>;

/// An extended report of the device 112233445566 from its advertising set `set`.
std::string extended(const std::string& eventType, const std::string& addressType,
                     const std::string& data, std::uint8_t set = 1) {
  return eventType + addressType + "665544332211 01 02" + toHex(little(1, set)) +
         "7F C4 0000 00 000000000000" + toHex(withLength(hex(data)));
}

class HciReports : public testing::Test {
 protected:
  Heard heardEvent(const Bytes& bytes) {
    Heard lines;
    events.begin({}, bytes);
    for (Advertisement advertisement; events.next(advertisement);) {
      lines.push_back(inWords(advertisement));
    }
    return lines;
  }
  Heard heard(const std::string& parameters) { return heardEvent(event(hex(parameters))); }
  Heard heardExtended(const std::string& report) { return heard("0D 01" + report); }

  HciEvents events;
};

TEST_F(HciReports, LegacyOnesStandOneAfterAnother) {
  const std::string first = "00 01 665544332211 02 0106 C4";
  const Heard firstHeard{"112233445566 random -60 0106"};
  const Case cases[] = {
      {"one", "02 01" + first, firstHeard},
      {"several",
       "02 03" + first + "04 00 060504030201 01 09 B0 03 01 665544332211 00 7F",
       {firstHeard[0], "010203040506 public -80 response 09", "112233445566 random 127 "}},
      {"resolved identities",
       "02 02 00 02 665544332211 00 C4 00 03 665544332211 00 C4",
       {"112233445566 public -60 ", "112233445566 random -60 "}},
      {"reserved event type", "02 02 05 01 665544332211 00 C4" + first, firstHeard},
      {"reserved address type", "02 02 00 04 665544332211 00 C4" + first, firstHeard},
      {"directed", "02 02 01 01 665544332211 00 C4" + first, firstHeard},
      {"fewer than announced", "02 05" + first, firstHeard},
      {"no signal strength", "02 01 00 01 665544332211 01 06", {"112233445566 random 127 06"}},
      {"overrunning data", "02 02 00 01 665544332211 1F 0106", {"112233445566 random 127 0106"}},
      {"no room for the fields", "02 01 00 01 6655443322", {}},
      {"another subevent", "01 01" + first, {}},
      {"nothing", "", {}},
  };
  for (const auto& [what, parameters, expected] : cases) {
    EXPECT_EQ(heard(parameters), expected) << what;
  }
  EXPECT_EQ(heardEvent(hex("3E 0C 02 01" + first)), Heard{"112233445566 random 127 01"})
      << "an event that says it is shorter ends there";
  EXPECT_EQ(heardEvent(hex("0E 0F 02 01" + first)), Heard{}) << "another event";
}

TEST_F(HciReports, ExtendedOnesAreHeardLikeLegacyOnes) {
  const Case cases[] = {
      {"extended", extended("0000", "01", "0106"), {"112233445566 random -60 0106"}},
      {"legacy", extended("1300", "00", "0106"), {"112233445566 public -60 0106"}},
      {"response", extended("1B00", "01", "09"), {"112233445566 random -60 response 09"}},
      {"truncated", extended("4000", "01", "0201"), {"112233445566 random -60 0201"}},
      {"directed", extended("0400", "01", "0106"), {}},
      {"anonymous", extended("0000", "FF", "0106"), {}},
  };
  for (const auto& [what, report, expected] : cases) {
    EXPECT_EQ(heardExtended(report), expected) << what;
  }
  EXPECT_EQ(heard("0D 02" + extended("0000", "01", "0106") + extended("0000", "03", "0107")),
            (Heard{"112233445566 random -60 0106", "112233445566 random -60 0107"}));
}

TEST_F(HciReports, InFragmentsArePutTogetherForEachSetOfADevice) {
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

TEST_F(HciReports, InFragmentsTakeNoMoreMemoryThanAnAdvertisementMayHave) {
  const std::string part(400, 'A');
  for (int i = 0; i < 20; ++i) {
    heardExtended(extended("2000", "01", part));
  }
  EXPECT_EQ(heardExtended(extended("0000", "01", part)),
            Heard{"112233445566 random -60 " + std::string(3300, 'A')});

  for (std::uint8_t set = 0; set < 100; ++set) {
    heardExtended(extended("2000", "01", "AA", set));
  }
  EXPECT_EQ(heardExtended(extended("0000", "01", "BB", 99)), Heard{"112233445566 random -60 AABB"});
  EXPECT_EQ(heardExtended(extended("0000", "01", "BB", 0)), Heard{"112233445566 random -60 BB"});
}

}  // namespace
}  // namespace nimbrel
