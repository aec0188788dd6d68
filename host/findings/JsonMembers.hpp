#pragma once

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/base/JsonWriter.hpp"

namespace nimbrel {

/// Writes the members of one JSON object, which ends with `Members`. Text goes straight to the
/// output: a recording may hold a hundred thousand devices.
class Members {
 public:
  explicit Members(JsonWriter& json) : json_(json) { json_.put('{'); }
  Members(const Members&) = delete;
  Members& operator=(const Members&) = delete;
  ~Members() { json_.put('}'); }

  /// The place for the value of the next member. Keys need no escaping.
  JsonWriter& value(std::string_view key) {
    json_.key(key, isFirst_);
    isFirst_ = false;
    return json_;
  }

  void text(std::string_view key, std::string_view text) { value(key).text(text); }
  void plain(std::string_view key, std::string_view text) { value(key).plain(text); }
  void null(std::string_view key) { value(key).null(); }
  void integer(std::string_view key, std::integral auto number) { value(key).integer(number); }
  void real(std::string_view key, double number) { value(key).real(number); }

  /// A clock's reading since 1970, in milliseconds.
  void reading(std::string_view key, std::chrono::microseconds reading) {
    integer(key, std::chrono::floor<std::chrono::milliseconds>(reading).count());
  }

  /// An array of so many elements at most, each of which `write(json, element)` writes.
  template <typename Elements, typename Write>
  void array(std::string_view key, const Elements& elements, const Write& write,
             std::size_t most = SIZE_MAX) {
    value(key).put('[');
    std::size_t written = 0;
    for (const auto& element : elements) {
      if (written == most) {
        break;
      }
      if (written > 0) {
        json_.put(',');
      }
      ++written;
      write(json_, element);
    }
    json_.put(']');
  }
  template <typename Texts>
  void texts(std::string_view key, const Texts& texts) {
    array(key, texts, [](JsonWriter& json, const auto& text) { json.text(text); });
  }

 private:
  JsonWriter& json_;
  bool isFirst_ = true;
};

}  // namespace nimbrel
