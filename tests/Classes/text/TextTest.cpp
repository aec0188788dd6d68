#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "Classes/text/Decimal.hpp"
#include "Classes/text/UpperCase.hpp"
#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {
namespace {

TEST(UpperCased, FollowsTheFullMappingOfUnicode) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},
      {"az09-_", "AZ09-_"},
      {"ß", "SS"},
      {"ŉ", "ʼN"},
      {"ﬁ", "FI"},
      {"ﬃ", "FFI"},
      {"ΐ", "\u0399\u0308\u0301"},
      {"ÿ", "Ÿ"},
      {"ıi", "II"},
      {"ǆǅ", "ǄǄ"},
      {"āĂă", "ĀĂĂ"},
      {"σς", "ΣΣ"},
      {"ა", "Ა"},
      {"ꭰ", "Ꭰ"},
      {"𐐨", "𐐀"},
      {"中😀", "中😀"},
      // Invalid UTF-8 passes through: a lone continuation byte, an overlong form, a surrogate, a
      // truncated character and a byte that never occurs.
      {"a\x80z", "A\x80Z"},
      {"\xC0\xAFz", "\xC0\xAFZ"},
      {"\xED\xA0\x80", "\xED\xA0\x80"},
      {"b\xE4\xB8", "B\xE4\xB8"},
      {"\xF5\x80\x80\x80", "\xF5\x80\x80\x80"},
  };
  for (const auto& [text, upper] : cases) {
    EXPECT_EQ(upperCased(text), upper) << text;
  }
}

TEST(FirstCharacters, CountsCodePointsAndSingleBytesOfWhatIsNotUtf8) {
  EXPECT_EQ(firstCharacters("äöü😀5678901", 8), "äöü😀5678");
  EXPECT_EQ(firstCharacters("short", 8), "short");
  EXPECT_EQ(firstCharacters("\xFF\xE4\xB8wxyz", 4), "\xFF\xE4\xB8w");
}

TEST(Utf8, TakesTheFirstAndLastCodePointOfEachLengthAndNothingBetween) {
  for (const char32_t codePoint :
       {0x7FU, 0x80U, 0x7FFU, 0x800U, 0xD7FFU, 0xE000U, 0xFFFFU, 0x10000U, 0x10FFFFU}) {
    std::string text;
    appendUtf8(text, codePoint);
    const Utf8Character character = decodeUtf8(text);
    EXPECT_TRUE(character.valid);
    EXPECT_EQ(character.codePoint, codePoint);
    EXPECT_EQ(character.size, text.size());
  }
  for (const char* text : {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                           "\xF4\x90\x80\x80", "\xC2", "\xE1\x80", "\xE1\x80\x41"}) {
    EXPECT_FALSE(decodeUtf8(text).valid) << text;
  }
  EXPECT_FALSE(decodeUtf8(std::string_view("\u00E4", 1)).valid);
}

TEST(UuidText, IsReadInEitherCaseAndWrittenInUpperCase) {
  const auto uuid = parseUuid("e2c56db5-DFFB-48d2-B060-d0f5a71096e0");
  ASSERT_TRUE(uuid.has_value());
  EXPECT_EQ(std::string_view(UuidText(*uuid)), "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");
  for (const char* text :
       {"", "E2C56DB5", "E2C56DB5DFFB48D2B060D0F5A71096E0", "E2C56DB5-DFFB-48D2-B060-D0F5A71096E",
        "E2C56DB5-DFFB-48D2-B060-D0F5A71096E00", "E2C56DB5-DFFB-48D2-B060_D0F5A71096E0",
        "G2C56DB5-DFFB-48D2-B060-D0F5A71096E0", "E2C56DB-5DFFB-48D2-B060-D0F5A71096E0",
        "{2C56DB5-DFFB-48D2-B060-D0F5A71096E}"}) {
    EXPECT_FALSE(parseUuid(text).has_value()) << text;
  }
}

TEST(Decimal, HoldsTheLongestNumbers) {
  EXPECT_EQ(std::string_view(Decimal(std::numeric_limits<std::int64_t>::min())),
            "-9223372036854775808");
  EXPECT_EQ(std::string_view(Decimal(std::numeric_limits<std::uint64_t>::max())),
            "18446744073709551615");
}

}  // namespace
}  // namespace nimbrel
