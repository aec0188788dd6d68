#include "host/scenario/JsonFields.hpp"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

bool isInteger(const Json& value) {
  return value.is_number_integer() &&
         (!value.is_number_unsigned() || value.get<std::uint64_t>() <= std::uint64_t{INT64_MAX});
}

std::string listed(const auto& words) {
  std::string list;
  for (const auto& word : words) {
    list += (list.empty() ? "" : ", ") + inQuotes(word);
  }
  return list;
}

std::optional<std::size_t> placeOf(const Json& value, std::span<const std::string_view> words) {
  if (!value.is_string()) {
    return std::nullopt;
  }
  const auto found = std::ranges::find(words, value.get_ref<const std::string&>());
  return found == words.end() ? std::nullopt : std::optional<std::size_t>(found - words.begin());
}

EncodableValue encodableFrom(const Json& json, int depth) {
  constexpr int kDeepest = 256;
  if (depth > kDeepest) {
    throw LineFault("\"arguments\" is nested more than 256 deep");
  }
  switch (json.type()) {
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
      return json.get<std::int64_t>();
    case Json::value_t::number_unsigned:
      // Beyond 64 bits with a sign, a number is a floating-point number.
      return isInteger(json) ? EncodableValue(json.get<std::int64_t>())
                             : EncodableValue(json.get<double>());
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string:
      return json.get<std::string>();
    case Json::value_t::array: {
      EncodableList list;
      for (const Json& element : json) {
        list.push_back(encodableFrom(element, depth + 1));
      }
      return list;
    }
    case Json::value_t::object: {
      EncodableMap map;
      for (const auto& [key, value] : json.items()) {
        map.emplace_back(EncodableValue(key), encodableFrom(value, depth + 1));
      }
      return map;
    }
    default:
      return std::monostate{};
  }
}

/// Throws LineFault on what the JSON library says of a line, in words of our own.
[[noreturn]] void refuse(const Json::exception& error, std::string_view line) {
  const auto* syntax = dynamic_cast<const Json::parse_error*>(&error);
  if (syntax == nullptr) {
    throw LineFault("holds a number that is too large");
  }
  // A trailing carriage return is no part of what somebody sees.
  const std::size_t size = line.find_last_not_of(" \t\r") + 1;
  const std::size_t column = std::max<std::size_t>(syntax->byte, 1);
  if (column > size) {
    throw LineFault("the JSON does not end on this line; write one step a line");
  }
  throw LineFault("not valid JSON at column " + std::to_string(column) +
                  "; write one JSON object a line");
}

}  // namespace

std::string inQuotes(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  const std::string_view shown = firstCharacters(text, kLongest);
  return '"' + std::string(shown) + (shown.size() < text.size() ? "…\"" : "\"");
}

Json parseJsonLine(std::string_view line) {
  std::vector<std::set<std::string>> keys;
  const auto watchKeys = [&keys](int /*depth*/, Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      keys.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      keys.pop_back();
    } else if (event == Json::parse_event_t::key &&
               !keys.back().insert(parsed.get<std::string>()).second) {
      throw LineFault("the key " + inQuotes(parsed.get<std::string>()) +
                      " stands twice in one object");
    }
    return true;
  };
  try {
    return Json::parse(line, watchKeys);
  } catch (const Json::exception& error) {
    refuse(error, line);
  }
}

EncodableValue encodableFrom(const Json& json) { return encodableFrom(json, 0); }

JsonFields::JsonFields(const Json& object, std::string what)
    : object_(object), what_(std::move(what)) {
  if (!object.is_object()) {
    throw LineFault(what_ + " is not a JSON object");
  }
}

bool JsonFields::has(std::string_view key) {
  remember(key);
  return object_.contains(key);
}

const Json* JsonFields::find(std::string_view key) {
  remember(key);
  const auto found = object_.find(key);
  return found == object_.end() ? nullptr : &*found;
}

const Json& JsonFields::need(std::string_view key) {
  const Json* value = find(key);
  if (value == nullptr) {
    throw LineFault(what_ + " lacks the key " + inQuotes(key));
  }
  return *value;
}

std::string JsonFields::text(std::string_view key) {
  const Json& value = need(key);
  if (!value.is_string()) {
    throw LineFault(inQuotes(key) + " is not a text");
  }
  return value.get<std::string>();
}

std::optional<std::string> JsonFields::optionalText(std::string_view key) {
  return has(key) ? std::optional(text(key)) : std::nullopt;
}

bool JsonFields::boolean(std::string_view key) {
  const Json& value = need(key);
  if (!value.is_boolean()) {
    throw LineFault(inQuotes(key) + " is neither true nor false");
  }
  return value.get<bool>();
}

bool JsonFields::boolean(std::string_view key, bool otherwise) {
  return has(key) ? boolean(key) : otherwise;
}

double JsonFields::number(std::string_view key) {
  const Json& value = need(key);
  if (!value.is_number()) {
    throw LineFault(inQuotes(key) + " is not a number");
  }
  return value.get<double>();
}

std::int64_t JsonFields::integer(std::string_view key) {
  const Json& value = need(key);
  if (!isInteger(value)) {
    throw LineFault(inQuotes(key) + " is not an integer of 64 bits");
  }
  return value.get<std::int64_t>();
}

MainQueue::Time JsonFields::time(std::string_view key) {
  constexpr double kLongest = 1e9;  // some thirty years
  const double seconds = number(key);
  if (!(seconds >= 0.0 && seconds <= kLongest)) {
    throw LineFault(inQuotes(key) + " is not a number of seconds from 0 to 1000000000");
  }
  return MainQueue::Time(std::llround(seconds * 1e6));
}

UUID JsonFields::uuid(std::string_view key) {
  const auto uuid = parseUuid(text(key));
  if (!uuid.has_value()) {
    throw LineFault(inQuotes(key) + " is not a UUID of the form 8-4-4-4-12 hexadecimal digits");
  }
  return *uuid;
}

std::vector<std::uint8_t> JsonFields::bytes(std::string_view key) {
  const std::string digits = text(key);
  std::vector<std::uint8_t> bytes(digits.size() / 2);
  bool isHex = digits.size() % 2 == 0;
  for (std::size_t index = 0; isHex && index < bytes.size(); ++index) {
    const int high = hexDigitValue(digits[index * 2]);
    const int low = hexDigitValue(digits[index * 2 + 1]);
    isHex = high >= 0 && low >= 0;
    bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  if (!isHex) {
    throw LineFault(inQuotes(key) + " is not an even number of hexadecimal digits");
  }
  return bytes;
}

std::size_t JsonFields::word(std::string_view key, std::initializer_list<std::string_view> words) {
  if (const auto place = placeOf(need(key), {words.begin(), words.size()})) {
    return *place;
  }
  throw LineFault(inQuotes(key) + " is none of " + listed(words));
}

std::int64_t JsonFields::wordOrInteger(std::string_view key,
                                       std::span<const std::string_view> words) {
  const Json& value = need(key);
  if (isInteger(value)) {
    return value.get<std::int64_t>();
  }
  if (const auto place = placeOf(value, words)) {
    return static_cast<std::int64_t>(*place);
  }
  throw LineFault(inQuotes(key) + " is neither one of " + listed(words) + " nor an integer");
}

void JsonFields::requireNoOthers() const {
  for (const auto& [key, value] : object_.items()) {
    if (std::ranges::find(known_, key) == known_.end()) {
      throw LineFault(what_ + " has the unknown key " + inQuotes(key) + "; it may have " +
                      listed(known_));
    }
  }
}

void JsonFields::remember(std::string_view key) {
  if (std::ranges::find(known_, key) == known_.end()) {
    known_.emplace_back(key);
  }
}

}  // namespace nimbrel
