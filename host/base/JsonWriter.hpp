#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/Output.hpp"

namespace nimbrel {

/// Writes JSON text (RFC 8259) to the end of a string. The string has its final size only when the
/// writer is gone, and nobody else may change it before. The caller puts what stands between
/// values.
class JsonWriter {
 public:
  /// REQUIRES: `out` outlives the writer.
  explicit JsonWriter(std::string& out) : out_(out), end_(out.data() + out.size()), limit_(end_) {
    makeRoom(1);
  }
  /// To the end of an output's buffer, which is written out whenever it holds a large piece.
  /// REQUIRES: `output` outlives the writer.
  explicit JsonWriter(Output& output) : JsonWriter(output.buffer()) { output_ = &output; }
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;
  ~JsonWriter() { out_.resize(size()); }

  /// The bytes that the string holds.
  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end_ - out_.data()); }

  /// Letters as they are.
  void put(char letter) {
    makeRoom(1);
    *end_++ = letter;
  }
  void put(std::string_view letters) {
    makeRoom(letters.size());
    end_ = std::copy(letters.begin(), letters.end(), end_);
  }

  /// The key of a member, which needs no escaping, with all that stands around it.
  void key(std::string_view key, bool isFirst) {
    makeRoom(key.size() + 4);
    char* end = end_;
    if (!isFirst) {
      *end++ = ',';
    }
    *end++ = '"';
    end = std::copy(key.begin(), key.end(), end);
    *end++ = '"';
    *end++ = ':';
    end_ = end;
  }
  void null() { put("null"); }
  void boolean(bool boolean) { put(boolean ? "true" : "false"); }
  void integer(std::integral auto number) {
    makeRoom(kLongestNumber);
    end_ = std::to_chars(end_, limit_, number).ptr;
  }
  /// The shortest digits that read back as the same number, always with a point or an exponent;
  /// null if it is not finite.
  void real(double number);
  /// Quoted and escaped; so are the control characters that JSON would allow (U+007F to U+009F), as
  /// a terminal may show the text. Bytes that are not valid UTF-8 become U+FFFD.
  void text(std::string_view text);
  /// Quoted, for a text of plain characters.
  void plain(std::string_view text) {
    makeRoom(text.size() + 2);
    *end_++ = '"';
    end_ = std::copy(text.begin(), text.end(), end_);
    *end_++ = '"';
  }

 private:
  static constexpr std::size_t kLongestNumber = 32;
  static constexpr std::size_t kLine = 512;  // a detection event fits in

  void makeRoom(std::size_t count) {
    if (static_cast<std::size_t>(limit_ - end_) < count) {
      grow(count);
    }
  }
  void grow(std::size_t count);
  /// Writes the first character of a text as JSON allows it. Returns how many bytes it has there.
  std::size_t putEscaped(std::string_view text);

  std::string& out_;
  Output* output_ = nullptr;  // whose buffer `out_` is, or null
  char* end_;
  char* limit_;
};

}  // namespace nimbrel
