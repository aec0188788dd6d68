#include "host/cli/JsonText.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <variant>

#include "Classes/text/Decimal.hpp"
#include "Classes/text/Utf8.hpp"

namespace nimbrel {

namespace {

constexpr bool isPlain(char letter) {
  const auto byte = static_cast<unsigned char>(letter);
  return byte >= 0x20 && byte < 0x80 && letter != '"' && letter != '\\';
}

/// Appends what JSON cannot hold as it is: the first character of `text`. Returns its size.
std::size_t appendSpecial(std::string& out, std::string_view text) {
  switch (text.front()) {
    case '"':
      out.append("\\\"");
      return 1;
    case '\\':
      out.append("\\\\");
      return 1;
    case '\n':
      out.append("\\n");
      return 1;
    case '\r':
      out.append("\\r");
      return 1;
    case '\t':
      out.append("\\t");
      return 1;
    default:
      break;
  }
  const Utf8Character character = decodeUtf8(text);
  if (!character.valid) {
    appendUtf8(out, U'\uFFFD');
  } else if (character.codePoint < 0x20) {
    constexpr std::string_view digits = "0123456789abcdef";
    out.append("\\u00");
    out.push_back(digits[character.codePoint >> 4U]);
    out.push_back(digits[character.codePoint & 0x0FU]);
  } else {
    out.append(text.substr(0, character.size));
  }
  return character.size;
}

}  // namespace

void appendJson(std::string& out, std::string_view text) {
  out.push_back('"');
  while (!text.empty()) {
    std::size_t plain = 0;
    while (plain < text.size() && isPlain(text[plain])) {
      ++plain;
    }
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(appendSpecial(out, text));
    }
  }
  out.push_back('"');
}

void appendJson(std::string& out, std::int64_t number) { out.append(Decimal(number)); }

void appendJson(std::string& out, double number) {
  if (!std::isfinite(number)) {
    out.append("null");
    return;
  }
  // Signal strengths and powers are whole nearly always, and digits of a whole number come cheap.
  constexpr double wholeDigits = 1e15;
  if (std::trunc(number) == number && std::abs(number) < wholeDigits &&
      (number != 0.0 || !std::signbit(number))) {
    out.append(Decimal(static_cast<std::int64_t>(number))).append(".0");
    return;
  }
  std::array<char, 40> digits;
  const double magnitude = std::abs(number);
  const auto format = (magnitude >= 1e-4 && magnitude < 1e16) || number == 0.0
                          ? std::chars_format::fixed
                          : std::chars_format::scientific;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format).ptr;
  const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
  out.append(text);
  if (text.find_first_of(".e") == std::string_view::npos) {
    out.append(".0");
  }
}

void appendJson(std::string& out, const EncodableValue& value) {
  const auto append = [&out](const auto& content) {
    using Kind = std::decay_t<decltype(content)>;
    if constexpr (std::is_same_v<Kind, std::monostate>) {
      out.append("null");
    } else if constexpr (std::is_same_v<Kind, bool>) {
      out.append(content ? "true" : "false");
    } else if constexpr (std::is_same_v<Kind, std::string>) {
      appendJson(out, std::string_view(content));
    } else if constexpr (std::is_same_v<Kind, std::int64_t> || std::is_same_v<Kind, double>) {
      appendJson(out, content);
    } else if constexpr (std::is_same_v<Kind, EncodableMap>) {
      char separator = '{';
      for (const EncodableEntry& entry : content) {
        out.push_back(separator);
        separator = ',';
        // JSON has text keys alone; any other key stands as the text of its JSON.
        if (const auto* key = std::get_if<std::string>(&entry.key)) {
          appendJson(out, std::string_view(*key));
        } else {
          std::string key_text;
          appendJson(key_text, entry.key);
          appendJson(out, std::string_view(key_text));
        }
        out.push_back(':');
        appendJson(out, entry.value);
      }
      out.append(content.empty() ? "{}" : "}");
    } else {
      char separator = '[';
      for (const auto& element : content) {
        out.push_back(separator);
        separator = ',';
        if constexpr (std::is_same_v<Kind, EncodableBytes>) {
          appendJson(out, std::int64_t{element});
        } else {
          appendJson(out, element);
        }
      }
      out.append(content.empty() ? "[]" : "]");
    }
  };
  std::visit(append, static_cast<const EncodableValue::variant&>(value));
}

}  // namespace nimbrel
