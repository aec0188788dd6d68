#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "host/base/Printable.hpp"

namespace nimbrel {
namespace {

TEST(Printable, ShowsWhatWouldSteerATerminalInDigits) {
  const std::pair<std::string, const char*> cases[] = {
      {"Café 北京 🙂", "Café 北京 🙂"},
      {std::string("\0\x1F ", 3), "\\x00\\x1F "},
      {"~\x7F", "~\\x7F"},
      {"\u0080\u009F\u00A0", "\\x80\\x9F\u00A0"},
      {"\xFFz\xE2\x80", "\\xFFz\\xE2\\x80"},
      {"\u2029\u202A\u202E\u202F", "\u2029\\u202A\\u202E\u202F"},
      {"\u2065\u2066\u2069\u206A", "\u2065\\u2066\\u2069\u206A"},
  };
  for (const auto& [text, expected] : cases) {
    std::string shown = "> ";
    appendPrintable(shown, text);
    EXPECT_EQ(shown, std::string("> ") + expected);
  }
}

}  // namespace
}  // namespace nimbrel
