#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/JsonText.hpp"

namespace nimbrel {

/// Writes the members of one JSON object, which ends with the writer. Text goes straight to the
/// output: a recording may hold a hundred thousand devices.
class Members {
 public:
  explicit Members(std::string& out) : out_(out) { out_.push_back('{'); }
  Members(const Members&) = delete;
  Members& operator=(const Members&) = delete;
  ~Members() { out_.push_back('}'); }

  /// The place for the value of the next member. Keys need no escaping.
  std::string& value(std::string_view key) {
    if (!isFirst_) {
      out_.push_back(',');
    }
    isFirst_ = false;
    out_.push_back('"');
    out_.append(key).append("\":", 2);
    return out_;
  }

  void text(std::string_view key, std::string_view text) { appendJson(value(key), text); }
  void null(std::string_view key) { value(key).append("null"); }
  void number(std::string_view key, std::int64_t number) { appendJson(value(key), number); }
  void count(std::string_view key, std::uint64_t count) {
    number(key, static_cast<std::int64_t>(count));
  }

  /// A clock's reading since 1970, in milliseconds.
  void reading(std::string_view key, std::chrono::microseconds reading) {
    number(key, std::chrono::floor<std::chrono::milliseconds>(reading).count());
  }

  /// An array, whose elements `append(element)` appends.
  template <typename Elements, typename Append>
  void array(std::string_view key, const Elements& elements, const Append& append) {
    value(key).push_back('[');
    bool isFirst = true;
    for (const auto& element : elements) {
      if (!isFirst) {
        out_.push_back(',');
      }
      isFirst = false;
      append(element);
    }
    out_.push_back(']');
  }

 private:
  std::string& out_;
  bool isFirst_ = true;
};

}  // namespace nimbrel
