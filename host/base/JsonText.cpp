#include "host/base/JsonText.hpp"

#include <variant>

#include "host/base/JsonWriter.hpp"

namespace nimbrel {

namespace {

/// Writes what the platform channel carries.
class ValueWriter {
 public:
  explicit ValueWriter(JsonWriter& json) : json_(json) {}

  void operator()(std::monostate /*null*/) { json_.null(); }
  void operator()(bool boolean) { json_.boolean(boolean); }
  void operator()(std::int64_t number) { json_.integer(number); }
  void operator()(double number) { json_.real(number); }
  void operator()(const PlainText& text) { json_.plain(text); }
  void operator()(const std::string& text) { json_.text(text); }
  void operator()(const EncodableBytes& bytes) {
    putAll('[', bytes, ']', [this](std::uint8_t byte) { json_.integer(byte); });
  }
  void operator()(const EncodableList& list) {
    putAll('[', list, ']', [this](const EncodableValue& value) { std::visit(*this, value); });
  }
  void operator()(const EncodableMap& map) {
    json_.put('{');
    for (const EncodableEntry& entry : map) {
      putKey(entry.key, &entry == map.begin());
      std::visit(*this, entry.value);
    }
    json_.put('}');
  }

 private:
  void putKey(const EncodableKey& key, bool isFirst) {
    if (key.isLiteral()) {
      json_.key(*key.text(), isFirst);
      return;
    }
    if (!isFirst) {
      json_.put(',');
    }
    if (const auto text = key.text()) {
      json_.text(*text);
    } else {
      // JSON has text keys alone; any other key stands as the text of its JSON.
      std::string words;
      appendJson(words, key.value());
      json_.text(words);
    }
    json_.put(':');
  }

  template <typename Values, typename PutOne>
  void putAll(char opening, const Values& values, char closing, const PutOne& putOne) {
    json_.put(opening);
    bool isFirst = true;
    for (const auto& value : values) {
      if (!isFirst) {
        json_.put(',');
      }
      isFirst = false;
      putOne(value);
    }
    json_.put(closing);
  }

  JsonWriter& json_;
};

}  // namespace

void appendJson(std::string& out, const EncodableValue& value) {
  JsonWriter json(out);
  std::visit(ValueWriter(json), value);
}

void appendJson(std::string& out, std::string_view text) { JsonWriter(out).text(text); }

void appendJson(std::string& out, double number) { JsonWriter(out).real(number); }

void appendJson(std::string& out, std::int64_t number) { JsonWriter(out).integer(number); }

}  // namespace nimbrel
