#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "platform/EncodableValue.hpp"
#include "platform/Foundation.hpp"

namespace nimbrel {

using Json = nlohmann::json;

/// An error in one line of a scenario. The caller, which knows file and line, adds them.
class LineFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One line's JSON. A key that stands twice in one object is refused: one of its values would be
/// lost. Throws LineFault.
Json parseJsonLine(std::string_view line);

/// The same value as the method channel has it. Throws LineFault if it is nested too deep.
EncodableValue encodableFrom(const Json& json);

/// `text` in double quotes, cut if it is long.
std::string inQuotes(std::string_view text);

/// Reads the keys of one object. Each reader throws LineFault if the value is of another kind.
class JsonFields {
 public:
  /// `what` names the object in messages. The object outlives its fields. Throws LineFault if
  /// it is no object.
  JsonFields(const Json& object, std::string what);

  /// Whether the key is there. Its name is remembered as one that this object may have.
  [[nodiscard]] bool has(std::string_view key);
  /// Null if the key is not there. Its name is remembered as one that this object may have.
  const Json* find(std::string_view key);
  /// Throws LineFault if the key is not there.
  const Json& need(std::string_view key);

  std::string text(std::string_view key);
  std::optional<std::string> optionalText(std::string_view key);
  bool boolean(std::string_view key);
  bool boolean(std::string_view key, bool otherwise);
  double number(std::string_view key);
  std::int64_t integer(std::string_view key);
  /// A duration in seconds, up to a billion.
  MainQueue::Time time(std::string_view key);
  UUID uuid(std::string_view key);
  /// Bytes as pairs of hexadecimal digits.
  std::vector<std::uint8_t> bytes(std::string_view key);

  /// The place of a word in `words`, from 0.
  std::size_t word(std::string_view key, std::initializer_list<std::string_view> words);
  /// The same, or the integer that stands in place of a word.
  std::int64_t wordOrInteger(std::string_view key, std::span<const std::string_view> words);

  /// Throws LineFault if there is a key that nothing asked for. It names those asked for.
  void requireNoOthers() const;

 private:
  void remember(std::string_view key);

  const Json& object_;
  std::string what_;
  std::vector<std::string> known_;
};

}  // namespace nimbrel
