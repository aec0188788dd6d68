#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>

#include "host/base/JsonText.hpp"
#include "host/base/JsonWriter.hpp"

namespace nimbrel {
namespace {

std::string json(const EncodableValue& value) {
  std::string text;
  appendJson(text, value);
  return text;
}

TEST(JsonText, WritesEveryKindOfValue) {
  EncodableMap map;
  map.emplace_back("list", EncodableList{std::monostate{}, true, false, EncodableBytes{0, 255}});
  map.emplace_back(EncodableValue(std::int64_t{7}), EncodableMap{});
  map.emplace_back("", EncodableList{});
  EXPECT_EQ(json(map), R"({"list":[null,true,false,[0,255]],"7":{},"":[]})");
}

TEST(JsonText, KeepsThePointOfANumberAndTheDigitsThatTellItApart) {
  const std::vector<std::pair<double, std::string>> cases = {
      {-59.0, "-59.0"},
      {0.0, "0.0"},
      {-0.0, "-0.0"},
      {3.472448099107183, "3.472448099107183"},
      {1e15, "1000000000000000.0"},
      {1e16, "1e+16"},
      {1e-4, "0.0001"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
      {std::nan(""), "null"},
      {-std::numeric_limits<double>::infinity(), "null"},
  };
  for (const auto& [number, text] : cases) {
    EXPECT_EQ(json(number), text);
  }
  EXPECT_EQ(json(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonText, EscapesWhatJsonCannotHoldWhereverItStands) {
  const std::vector<std::pair<std::string, std::string>> specials = {
      {"\"", "\\\""},
      {"\\", "\\\\"},
      {"\n", "\\n"},
      {"\r", "\\r"},
      {"\t", "\\t"},
      {"\x01", "\\u0001"},
      {"\x1F", "\\u001f"},
      {"é", "é"},
      {"😀", "😀"},
      {"\x7E", "~"},
      {"\x7F", "\\u007f"},
      {"\u0080", "\\u0080"},
      {"\u009F", "\\u009f"},
      {"\u00A0", "\u00A0"},
      {"\x80", "\uFFFD"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF0\x9F", "\uFFFD\uFFFD"},
      {std::string(1, '\0'), "\\u0000"},
  };
  for (const auto& [special, escaped] : specials) {
    for (const std::string plain :
         {"", "z", "~!#[]^z", "nine, ten", "more than two words of eight"}) {
      EXPECT_EQ(json(special + plain), '"' + escaped + plain + '"');
      EXPECT_EQ(json(plain + special), '"' + plain + escaped + '"');
      EXPECT_EQ(json(special + plain + special), '"' + escaped + plain + escaped + '"');
    }
  }
}

TEST(JsonWriter, PassesOnWhatIsTooMuchForABuffer) {
  std::FILE* const file = std::tmpfile();
  Output output(fileno(file));
  std::string expected;
  {
    JsonWriter toFile(output);
    JsonWriter toText(expected);
    for (int number = 0; number < 50'000; ++number) {
      toFile.integer(number);
      toText.integer(number);
    }
  }
  output.flush();
  std::rewind(file);
  std::string written(expected.size() + 1, '?');
  written.resize(std::fread(written.data(), 1, written.size(), file));
  std::fclose(file);
  EXPECT_TRUE(written == expected);
}

TEST(JsonText, ReadsBackAsTheSameNumberWhateverTheBits) {
  std::mt19937_64 bits(20231114);
  for (int round = 0; round < 20000; ++round) {
    double number = 0.0;
    const std::uint64_t pattern = bits();
    std::memcpy(&number, &pattern, sizeof number);
    if (std::isfinite(number)) {
      EXPECT_EQ(nlohmann::json::parse(json(number)).get<double>(), number);
    }
  }
}

TEST(JsonText, WritesMapsOfAnyLength) {
  EncodableMap map;
  nlohmann::json expected;
  for (int index = 0; index < 200; ++index) {
    const std::string key = "key " + std::to_string(index);
    map.emplace_back(EncodableValue(key), std::string(static_cast<std::size_t>(index), 'x'));
    expected[key] = std::string(static_cast<std::size_t>(index), 'x');
  }
  EXPECT_EQ(nlohmann::json::parse(json(map)), expected);
}

}  // namespace
}  // namespace nimbrel
