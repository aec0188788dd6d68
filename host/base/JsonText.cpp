#include "host/base/JsonText.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <variant>

#include "Classes/text/Utf8.hpp"

namespace nimbrel {

namespace {

constexpr bool isPlain(char letter) {
  // Bytes beyond ASCII are negative, where a char has a sign.
  return static_cast<signed char>(letter) >= 0x20 && letter != '"' && letter != '\\';
}

/// Sixteen characters that are looked at together (a vector extension that GCC and Clang share).
using Letters [[gnu::vector_size(16)]] = signed char;

/// Marks the characters that are not plain: all bits of each are set.
Letters special(Letters letters) { return (letters < 0x20) | (letters == '"') | (letters == '\\'); }

bool anyIn(Letters marks) {
  const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(marks);
  return (halves[0] | halves[1]) != 0;
}

/// Copies what has the size of a `Word` from one place to another. Returns it.
template <typename Word>
Word copyWord(char* to, const char* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  std::memcpy(to, &word, sizeof word);
  return word;
}

/// Copies `text` to `to` if JSON takes all of it as it is; returns false where it does not. The
/// last characters are copied with some that were there before, rather than one at a time.
bool copyPlain(char* to, std::string_view text) {
  const char* letters = text.data();
  const std::size_t size = text.size();
  if (size >= 16) {
    Letters marks{};
    for (std::size_t place = 0; place + 16 < size; place += 16) {
      marks |= special(copyWord<Letters>(to + place, letters + place));
    }
    return !anyIn(marks | special(copyWord<Letters>(to + size - 16, letters + size - 16)));
  }
  constexpr std::uint64_t kBlanks = 0x2020202020202020U;
  std::array<std::uint64_t, 2> words{kBlanks, kBlanks};
  if (size >= 8) {
    words = {copyWord<std::uint64_t>(to, letters),
             copyWord<std::uint64_t>(to + size - 8, letters + size - 8)};
  } else if (size >= 4) {
    words[0] = std::uint64_t{copyWord<std::uint32_t>(to, letters)} << 32U |
               copyWord<std::uint32_t>(to + size - 4, letters + size - 4);
  } else {
    for (std::size_t place = 0; place < size; ++place) {
      words[0] = words[0] << 8U | copyWord<std::uint8_t>(to + place, letters + place);
    }
  }
  return !anyIn(special(std::bit_cast<Letters>(words)));
}

/// A piece of JSON that is put together before it goes into the text in one go.
class Piece {
 public:
  /// The longest text that is put here instead of into the text itself.
  static constexpr std::size_t kLongestText = 64;

  /// Sees to it that there is room for a key, a value and what stands between them.
  void makeRoom(std::string& out) {
    constexpr std::ptrdiff_t kRoom = 3 * kLongestText;
    if (limit() - end_ < kRoom) {
      moveTo(out);
    }
  }

  void put(char letter) { *end_++ = letter; }

  /// Quotes a plain text that is no longer than `longestText`. Returns false, and puts nothing,
  /// where it is another one.
  bool putPlain(std::string_view text) {
    char* const begin = end_;
    if (text.size() > kLongestText || !copyPlain(begin + 1, text)) {
      return false;
    }
    char* const end = begin + 1 + text.size();
    *begin = '"';
    *end = '"';
    end_ = end + 1;
    return true;
  }

  void put(std::int64_t number) { end_ = std::to_chars(end_, limit(), number).ptr; }

  void put(double number) {
    // Signal strengths and powers are whole nearly always; digits of a whole number come cheap.
    constexpr double kWholeDigits = 1e15;
    if (std::abs(number) < kWholeDigits && (number != 0.0 || !std::signbit(number))) {
      const auto whole = static_cast<std::int64_t>(number);
      if (static_cast<double>(whole) == number) {
        put(whole);
        putText(".0");
        return;
      }
    }
    if (!std::isfinite(number)) {
      putText("null");
      return;
    }
    const double magnitude = std::abs(number);
    const auto format = (magnitude >= 1e-4 && magnitude < 1e16) || number == 0.0
                            ? std::chars_format::fixed
                            : std::chars_format::scientific;
    const char* begin = end_;
    end_ = std::to_chars(end_, limit(), number, format).ptr;
    if (std::find_if(begin, static_cast<const char*>(end_),
                     [](char letter) { return letter == '.' || letter == 'e'; }) == end_) {
      putText(".0");
    }
  }

  void putText(std::string_view text) { end_ += text.copy(end_, text.size()); }

  void moveTo(std::string& out) {
    out.append(text_.data(), static_cast<std::size_t>(end_ - text_.data()));
    end_ = text_.data();
  }

 private:
  char* limit() { return text_.data() + text_.size(); }

  std::array<char, 1024> text_;
  char* end_ = text_.data();
};

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
    constexpr std::string_view kDigits = "0123456789abcdef";
    out.append("\\u00");
    out.push_back(kDigits[character.codePoint >> 4U]);
    out.push_back(kDigits[character.codePoint & 0x0FU]);
  } else {
    out.append(text.substr(0, character.size));
  }
  return character.size;
}

/// Quotes a text that is long, or not plain.
[[gnu::noinline]] void appendOtherText(std::string& out, Piece& piece, std::string_view text) {
  piece.put('"');
  piece.moveTo(out);
  while (!text.empty()) {
    const auto* special =
        std::find_if_not(text.begin(), text.end(), [](char letter) { return isPlain(letter); });
    const auto plain = static_cast<std::size_t>(special - text.begin());
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(appendSpecial(out, text));
    }
  }
  piece.put('"');
}

void appendText(std::string& out, Piece& piece, std::string_view text) {
  if (!piece.putPlain(text)) {
    appendOtherText(out, piece, text);
  }
}

void appendValue(std::string& out, Piece& piece, const EncodableValue& value);

template <typename List>
void appendList(std::string& out, Piece& piece, const List& list) {
  piece.put('[');
  bool isFirst = true;
  for (const auto& element : list) {
    piece.makeRoom(out);
    if (!isFirst) {
      piece.put(',');
    }
    isFirst = false;
    if constexpr (std::is_same_v<List, EncodableBytes>) {
      piece.put(std::int64_t{element});
    } else {
      appendValue(out, piece, element);
    }
  }
  piece.put(']');
}

void appendMap(std::string& out, Piece& piece, const EncodableMap& map) {
  piece.put('{');
  bool isFirst = true;
  for (const EncodableEntry& entry : map) {
    piece.makeRoom(out);
    if (!isFirst) {
      piece.put(',');
    }
    isFirst = false;
    // JSON has text keys alone; any other key stands as the text of its JSON.
    if (const auto* key = std::get_if<std::string>(&entry.key)) {
      appendText(out, piece, *key);
    } else {
      std::string keyText;
      appendJson(keyText, entry.key);
      appendText(out, piece, keyText);
    }
    piece.put(':');
    appendValue(out, piece, entry.value);
  }
  piece.put('}');
}

void appendValue(std::string& out, Piece& piece, const EncodableValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    appendText(out, piece, *text);
  } else if (const auto* number = std::get_if<double>(&value)) {
    piece.put(*number);
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    piece.put(*integer);
  } else if (const auto* boolean = std::get_if<bool>(&value)) {
    piece.putText(*boolean ? "true" : "false");
  } else if (const auto* bytes = std::get_if<EncodableBytes>(&value)) {
    appendList(out, piece, *bytes);
  } else if (const auto* list = std::get_if<EncodableList>(&value)) {
    appendList(out, piece, *list);
  } else if (const auto* map = std::get_if<EncodableMap>(&value)) {
    appendMap(out, piece, *map);
  } else {
    piece.putText("null");
  }
}

}  // namespace

void appendJson(std::string& out, const EncodableValue& value) {
  Piece piece;
  appendValue(out, piece, value);
  piece.moveTo(out);
}

void appendJson(std::string& out, std::string_view text) {
  Piece piece;
  appendText(out, piece, text);
  piece.moveTo(out);
}

void appendJson(std::string& out, double number) {
  Piece piece;
  piece.put(number);
  piece.moveTo(out);
}

void appendJson(std::string& out, std::int64_t number) {
  Piece piece;
  piece.put(number);
  piece.moveTo(out);
}

}  // namespace nimbrel
