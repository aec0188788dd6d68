#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Classes/model/EncodableAccess.hpp"
#include "host/cli/ScanOptions.hpp"

namespace nimbrel {
namespace {

constexpr const char* kUuid = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";

ScanOptions parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "scan");
  return *ScanOptions::parse(static_cast<int>(arguments.size()), arguments.data());
}

std::string refusalOf(const std::vector<const char*>& arguments) {
  try {
    parse(arguments);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "none";
}

EncodableMap filterOf(const char* text) {
  return std::get<EncodableMap>(parse({"--filter", text}).filters.at(0));
}

TEST(ScanOptions, RefuseWhatCannotBeUsedAndSayWhatToGive) {
  const std::string see = "; see nimbrel scan --help";
  const std::string form = "; give UUID[/MAJOR[/MINOR]][=LABEL]";
  const std::string kind =
      " is not a UUID (8-4-4-4-12 hexadecimal digits, with or without the hyphens)" + form;
  const std::string uuid = kUuid;
  const std::string beyond = uuid + "/65536";
  const std::string below = uuid + "/-1";
  const std::string surplus = uuid + "/1/2/3";
  const std::string bytes = uuid + "=\xFF";
  const std::pair<std::vector<const char*>, std::string> cases[] = {
      // The line itself.
      {{"--wings"}, "unknown option --wings" + see},
      {{"-q"}, "unknown option -q" + see},
      {{"--filters=x"},
       "unknown option --filters=x; did you mean --filter? see nimbrel scan --help"},
      {{"--tab"}, "unknown option --tab; did you mean --table? see nimbrel scan --help"},
      {{"--filter"}, "the option --filter lacks its value" + see},
      {{"--json=yes"}, "the option --json takes no value" + see},
      // Values.
      {{"--filter", "x"}, "--filter 'x': 'x'" + kind},
      {{"--filter", "--json"}, "--filter '--json': '--json'" + kind},
      {{"--filter", beyond.c_str()},
       "--filter '" + beyond + "': '65536' is not a number from 0 to 65535" + form},
      {{"--filter", below.c_str()},
       "--filter '" + below + "': '-1' is not a number from 0 to 65535" + form},
      {{"--filter", surplus.c_str()},
       "--filter '" + surplus + "': '2/3' is not a number from 0 to 65535" + form},
      {{"--filter", bytes.c_str()}, "--filter '" + bytes + "': the label is not UTF-8" + form},
      {{"--speed", "0"}, "--speed '0' is not a number above 0; give for example --speed 10"},
      {{"--speed", "-1"}, "--speed '-1' is not a number above 0; give for example --speed 10"},
      {{"--speed", "nan"}, "--speed 'nan' is not a number above 0; give for example --speed 10"},
      {{"--phone", "pixel"},
       "--phone 'pixel' is no phone that is known; give --phone iphone, or leave it out"},
      {{"--for", "1s"}, "--for '1s' is not a number above 0; give for example --for 10"},
      {{"--for", "1e10"}, "--for '1e10' is more than a billion; give for example --for 10"},
      // Options that do not go together.
      {{"--live", "a"}, "--live and a capture exclude each other; leave one of them out"},
      {{"--live", "--speed", "2"}, "--speed is for a replay; leave it out, or --live"},
      {{"--adapter", "hci1"}, "--adapter is for listening live; give --live, too"},
      {{"--record", "f"}, "--record is for listening live; give --live, too"},
      {{"--live", "--force"}, "--force is about the file of a recording; give --record FILE, too"},
      {{"--live", "--record-rotate", "1G"},
       "--record-rotate is about the file of a recording; give --record FILE, too"},
      {{"--live", "--record", "f", "--record-rotate", "1T"},
       "--record-rotate '1T' is no size and no age; give for example 100M (k, M, G) or 24h (s, "
       "min, h, d)"},
      {{"--table", "--json"}, "--table and --json exclude each other; leave one of them out"},
  };
  for (const auto& [arguments, expected] : cases) {
    EXPECT_EQ(refusalOf(arguments), expected);
  }
}

TEST(ScanOptions, TakeTheLastOfRepeatedValuesAndAllFilters) {
  const ScanOptions options = parse({"--for", "1", "--filter", kUuid, "--speed=3", "--", "-a"});
  EXPECT_EQ(options.captures, std::vector<std::string>{"-a"});
  EXPECT_EQ(options.speed, 3.0);
  const ScanOptions later = parse({"--for", "1", "--for=1.5", "--filter", kUuid, "-", "--filter",
                                   "00112233445566778899aabbccddeeff"});
  EXPECT_EQ(later.duration, std::chrono::milliseconds(1500));
  EXPECT_EQ(later.captures, std::vector<std::string>{"-"});
  ASSERT_EQ(later.filters.size(), 2U);
  EXPECT_EQ(*textFor(std::get<EncodableMap>(later.filters[1]), "uuid"),
            "00112233-4455-6677-8899-aabbccddeeff");
}

TEST(ScanOptions, ReadTheMajorTheMinorAndTheLabelOfAFilter) {
  const std::string uuid = kUuid;
  EXPECT_EQ(filterOf(kUuid), (EncodableMap{{"uuid", kUuid}}));
  EXPECT_EQ(filterOf((uuid + "/65535/0=a=b/c").c_str()),
            (EncodableMap{{"uuid", kUuid},
                          {"majorId", std::int64_t{65535}},
                          {"minorId", std::int64_t{0}},
                          {"identifier", "a=b/c"}}));
  EXPECT_EQ(filterOf((uuid + "//7=").c_str()),
            (EncodableMap{{"uuid", kUuid}, {"minorId", std::int64_t{7}}, {"identifier", ""}}));
}

}  // namespace
}  // namespace nimbrel
