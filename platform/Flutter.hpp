#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace nimbrel {

struct EncodableEntry;
struct EncodableValue;

using EncodableBytes = std::vector<std::uint8_t>;
using EncodableList = std::vector<EncodableValue>;

/// A map whose keys are values of any kind, no two of them equal. It keeps its entries in the order
/// in which they were added; two maps with the same entries are equal in any order.
///
/// Entries stand in one vector: channel maps are so small that looking at each entry is faster than
/// a tree or a hash table.
class EncodableMap {
 public:
  EncodableMap() = default;
  /// REQUIRES: no two of the keys are equal.
  EncodableMap(std::initializer_list<EncodableEntry> entries);

  /// Adds an entry. Key and value are built in place from what is given.
  /// REQUIRES: the map has no equal key.
  template <typename Key, typename Value>
  void emplace_back(Key&& key, Value&& value);
  void reserve(std::size_t count);

  [[nodiscard]] const EncodableEntry* begin() const;
  [[nodiscard]] const EncodableEntry* end() const;
  [[nodiscard]] std::size_t size() const;

  friend bool operator==(const EncodableMap& left, const EncodableMap& right);

 private:
  [[nodiscard]] bool hasDistinctKeys() const;

  std::vector<EncodableEntry> entries_;
};

/// A value of a channel's codec: null, boolean, integer, floating-point number, text (UTF-8),
/// bytes, list or map. A boolean is not a number, and an integer is not a floating-point number.
/// Source: the value kinds of Flutter's standard message codec.
struct EncodableValue : std::variant<std::monostate, bool, std::int64_t, double, std::string,
                                     EncodableBytes, EncodableList, EncodableMap> {
  using variant::variant;
  EncodableValue(const char* text);
  EncodableValue(std::string_view text);
};

struct EncodableEntry {
  template <typename Key, typename Value>
  EncodableEntry(Key&& keyFrom, Value&& valueFrom)
      : key(std::forward<Key>(keyFrom)), value(std::forward<Value>(valueFrom)) {}

  EncodableValue key;
  EncodableValue value;

  friend bool operator==(const EncodableEntry&, const EncodableEntry&) = default;
};

inline EncodableValue::EncodableValue(const char* text)
    : variant(std::in_place_type<std::string>, text) {}
inline EncodableValue::EncodableValue(std::string_view text)
    : variant(std::in_place_type<std::string>, text) {}

inline EncodableMap::EncodableMap(std::initializer_list<EncodableEntry> entries)
    : entries_(entries) {
  assert(hasDistinctKeys());
}

template <typename Key, typename Value>
void EncodableMap::emplace_back(Key&& key, Value&& value) {
  entries_.emplace_back(std::forward<Key>(key), std::forward<Value>(value));
  assert(hasDistinctKeys());
}

inline void EncodableMap::reserve(std::size_t count) { entries_.reserve(count); }
inline const EncodableEntry* EncodableMap::begin() const { return entries_.data(); }
inline const EncodableEntry* EncodableMap::end() const { return entries_.data() + entries_.size(); }
inline std::size_t EncodableMap::size() const { return entries_.size(); }

inline bool EncodableMap::hasDistinctKeys() const {
  return std::all_of(begin(), end(), [this](const EncodableEntry& entry) {
    return std::none_of(begin(), &entry, [&](const auto& other) { return other.key == entry.key; });
  });
}

inline bool operator==(const EncodableMap& left, const EncodableMap& right) {
  return std::is_permutation(left.begin(), left.end(), right.begin(), right.end());
}

/// The host framework's marker for a method that the plug-in does not have.
struct FlutterMethodNotImplemented {
  friend bool operator==(FlutterMethodNotImplemented, FlutterMethodNotImplemented) = default;
};

/// What a result callback takes: a value, or the marker.
using FlutterReply = std::variant<EncodableValue, FlutterMethodNotImplemented>;

/// Answers one method call, during the call or later, on the main thread. It may also be dropped
/// without an answer. REQUIRES: it is called no more than once.
using FlutterResult = std::function<void(FlutterReply)>;

/// Sends one value to the application that listens on an event channel. Called on the main thread.
using FlutterEventSink = std::function<void(EncodableValue)>;

/// A call that the application made on a method channel.
struct FlutterMethodCall {
  std::string method;
  /// Absent if the application gave none. The codec delivers null in the same way.
  std::optional<EncodableValue> arguments;
};

/// An error for the application. The plug-in itself never returns one.
struct FlutterError {
  std::string code;
  std::string message;
};

/// Receives the method calls of a channel.
class FlutterPlugin {
 public:
  virtual ~FlutterPlugin() = default;

  /// Handles one call; the answer goes to `result`. Called on the main thread.
  virtual void handle(const FlutterMethodCall& call, FlutterResult result) = 0;
};

/// Is told when the application starts and stops listening on an event channel.
class FlutterStreamHandler {
 public:
  virtual ~FlutterStreamHandler() = default;

  /// Called on the main thread when the application starts to listen. `eventSink` may be kept and
  /// called until `onCancel` or the next `onListen`. Returns an error to refuse the listener.
  virtual std::optional<FlutterError> onListen(const std::optional<EncodableValue>& arguments,
                                               FlutterEventSink eventSink) = 0;

  /// Called on the main thread when the application stops listening. Returns an error if that
  /// failed.
  virtual std::optional<FlutterError> onCancel(const std::optional<EncodableValue>& arguments) = 0;
};

/// A named channel for method calls. Destroying the object does not close the channel: its
/// delegate stays registered.
class FlutterMethodChannel {
 public:
  virtual ~FlutterMethodChannel() = default;
};

/// A named channel for a stream of events. Destroying the object does not close the channel: its
/// handler stays registered.
class FlutterEventChannel {
 public:
  virtual ~FlutterEventChannel() = default;

  /// Replaces the channel's handler. The host framework keeps it alive.
  virtual void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) = 0;
};

/// The plug-in's connection to one application, on which channels are opened.
class FlutterBinaryMessenger {
 public:
  virtual ~FlutterBinaryMessenger() = default;

  /// Opens the method channel of that name on this messenger. Never null.
  virtual std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) = 0;

  /// Opens the event channel of that name on this messenger. Never null.
  virtual std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) = 0;
};

/// Given to a plug-in for its registration. Valid until the registration returns.
class FlutterPluginRegistrar {
 public:
  virtual ~FlutterPluginRegistrar() = default;

  /// The messenger of the application that the plug-in is registered with.
  virtual FlutterBinaryMessenger& messenger() = 0;

  /// Hands every call that arrives on `channel` to `delegate`, which the host framework keeps
  /// alive. REQUIRES: this registrar's messenger opened `channel`.
  virtual void addMethodCallDelegate(std::shared_ptr<FlutterPlugin> delegate,
                                     FlutterMethodChannel& channel) = 0;
};

}  // namespace nimbrel
