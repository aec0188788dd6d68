#include "host/base/JsonText.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <variant>

#include "Classes/text/Utf8.hpp"

namespace nimbrel {

namespace {

/// The characters that a text in JSON cannot hold as they are, those that would steer a terminal,
/// and all that is not ASCII and so has to be looked at as UTF-8.
constexpr auto kNeedsCare = [] {
  std::array<bool, 256> needsCare{};
  for (std::size_t byte = 0; byte < needsCare.size(); ++byte) {
    needsCare[byte] = byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\';
  }
  return needsCare;
}();

/// Writes to the end of a text, which has its final size only when the writer is gone.
class Writer {
 public:
  explicit Writer(std::string& out) : out_(out), end_(out.data() + out.size()), limit_(end_) {
    makeRoom(1);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { out_.resize(static_cast<std::size_t>(end_ - out_.data())); }

  void operator()(std::monostate /*null*/) { put("null"); }
  void operator()(bool boolean) { put(boolean ? "true" : "false"); }
  void operator()(std::int64_t number) {
    makeRoom(kLongestNumber);
    end_ = std::to_chars(end_, limit_, number).ptr;
  }
  void operator()(double number);
  void operator()(std::string_view text) {
    makeRoom(text.size() + 2);
    char* const letters = end_ + 1;
    bool needsCare = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
      needsCare |= kNeedsCare[static_cast<std::uint8_t>(text[place])];
      letters[place] = text[place];
    }
    if (needsCare) {
      putWithCare(text);
    } else {
      letters[-1] = '"';
      letters[text.size()] = '"';
      end_ = letters + text.size() + 1;
    }
  }
  void operator()(const EncodableBytes& bytes) {
    putAll('[', bytes, ']', [this](std::uint8_t byte) { (*this)(std::int64_t{byte}); });
  }
  void operator()(const EncodableList& list) {
    putAll('[', list, ']', [this](const EncodableValue& value) { std::visit(*this, value); });
  }
  void operator()(const EncodableMap& map) {
    putAll('{', map, '}', [this](const EncodableEntry& entry) {
      putKey(entry.key);
      put(':');
      std::visit(*this, entry.value);
    });
  }

 private:
  static constexpr std::size_t kLongestNumber = 32;
  static constexpr std::size_t kLine = 512;  // a detection event fits in

  void makeRoom(std::size_t count) {
    if (static_cast<std::size_t>(limit_ - end_) < count) {
      const auto size = static_cast<std::size_t>(end_ - out_.data());
      out_.resize(size + count + kLine);
      end_ = out_.data() + size;
      limit_ = out_.data() + out_.size();
    }
  }
  void put(char letter) {
    makeRoom(1);
    *end_++ = letter;
  }
  void put(std::string_view letters) {
    makeRoom(letters.size());
    end_ = std::copy(letters.begin(), letters.end(), end_);
  }
  void putWithCare(std::string_view text);
  void putKey(const EncodableValue& key);

  template <typename Values, typename PutOne>
  void putAll(char opening, const Values& values, char closing, const PutOne& putOne) {
    put(opening);
    bool isFirst = true;
    for (const auto& value : values) {
      if (!isFirst) {
        put(',');
      }
      isFirst = false;
      putOne(value);
    }
    put(closing);
  }

  std::string& out_;
  char* end_;
  char* limit_;
};

void Writer::operator()(double number) {
  const double magnitude = std::abs(number);
  // Signal strengths and powers are whole nearly always; the digits of an integer come cheap.
  if (magnitude < 1e16 && static_cast<double>(static_cast<std::int64_t>(number)) == number) {
    if (number == 0.0 && std::signbit(number)) {
      put('-');
    }
    (*this)(static_cast<std::int64_t>(number));
    put(".0");
  } else if (std::isfinite(number)) {
    const bool isFixed = magnitude >= 1e-4 && magnitude < 1e16;
    const auto format = isFixed ? std::chars_format::fixed : std::chars_format::scientific;
    makeRoom(kLongestNumber);
    end_ = std::to_chars(end_, limit_, number, format).ptr;
  } else {
    put("null");
  }
}

void Writer::putWithCare(std::string_view text) {
  put('"');
  while (!text.empty()) {
    constexpr std::string_view kNamed = "\"\\\n\r\t";
    constexpr std::string_view kNames = "\"\\nrt";
    constexpr std::string_view kDigits = "0123456789abcdef";
    const Utf8Character character = decodeUtf8(text);
    if (!character.valid) {
      put("\uFFFD");
    } else if (const auto place = kNamed.find(text.front()); place != std::string_view::npos) {
      put('\\');
      put(kNames[place]);
    } else if (character.codePoint < 0x20 ||
               (character.codePoint >= 0x7F && character.codePoint < 0xA0)) {
      put("\\u00");
      put(kDigits[character.codePoint >> 4U]);
      put(kDigits[character.codePoint & 0x0FU]);
    } else {
      put(text.substr(0, character.size));
    }
    text.remove_prefix(character.size);
  }
  put('"');
}

void Writer::putKey(const EncodableValue& key) {
  // JSON has text keys alone; any other key stands as the text of its JSON.
  if (const auto* text = std::get_if<std::string>(&key)) {
    (*this)(*text);
  } else {
    std::string json;
    appendJson(json, key);
    (*this)(json);
  }
}

}  // namespace

void appendJson(std::string& out, const EncodableValue& value) {
  Writer write(out);
  std::visit(write, value);
}

void appendJson(std::string& out, std::string_view text) {
  Writer write(out);
  write(text);
}

void appendJson(std::string& out, double number) {
  Writer write(out);
  write(number);
}

void appendJson(std::string& out, std::int64_t number) {
  Writer write(out);
  write(number);
}

}  // namespace nimbrel
