#pragma once

#include <cstdint>
#include <functional>
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

/// The entries of a map, in the order in which they were given.
///
/// Keys are values of any kind; no two of them are equal, which whoever fills the map sees to.
/// The maps of a channel hold a handful of entries, so that one block of memory and a look at each
/// entry beat a tree or a hash table.
using EncodableMap = std::vector<EncodableEntry>;

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
  /// Each part is built in its place from what it is given.
  template <typename Key, typename Value>
  EncodableEntry(Key&& keyFrom, Value&& valueFrom)
      : key(std::forward<Key>(keyFrom)), value(std::forward<Value>(valueFrom)) {}

  EncodableValue key;
  EncodableValue value;

  friend bool operator==(const EncodableEntry&, const EncodableEntry&) = default;
};

inline EncodableValue::EncodableValue(const char* text) : variant(std::string(text)) {}
inline EncodableValue::EncodableValue(std::string_view text) : variant(std::string(text)) {}

/// The host framework's marker for a method that the plug-in does not have.
struct FlutterMethodNotImplemented {
  friend bool operator==(FlutterMethodNotImplemented, FlutterMethodNotImplemented) = default;
};

/// What a result callback takes: a value, or the marker.
using FlutterReply = std::variant<EncodableValue, FlutterMethodNotImplemented>;

/// Answers one method call. Called once, on the main thread, during the call or later; it may
/// also be dropped unanswered.
using FlutterResult = std::function<void(FlutterReply)>;

/// Sends one value to the application that listens on an event channel. Called on the main thread.
using FlutterEventSink = std::function<void(EncodableValue)>;

/// A call that the application made on a method channel.
struct FlutterMethodCall {
  std::string method;
  /// Absent where the application gave none; the codec delivers that and null alike.
  std::optional<EncodableValue> arguments;
};

/// An error for the application. No operation of the plug-in makes one; handlers may return one.
struct FlutterError {
  std::string code;
  std::string message;
};

/// Receives the method calls of a channel.
class FlutterPlugin {
 public:
  virtual ~FlutterPlugin() = default;

  /// Called on the main thread, once for each call. The callee answers through `result`.
  virtual void handle(const FlutterMethodCall& call, FlutterResult result) = 0;
};

/// Receives the application's starting and stopping to listen on an event channel.
class FlutterStreamHandler {
 public:
  virtual ~FlutterStreamHandler() = default;

  /// Called on the main thread when the application starts to listen. `eventSink` may be kept and
  /// called until `onCancel`. Returns an error to refuse, absent to accept.
  virtual std::optional<FlutterError> onListen(const std::optional<EncodableValue>& arguments,
                                               FlutterEventSink eventSink) = 0;

  /// Called on the main thread when the application stops listening.
  virtual std::optional<FlutterError> onCancel(const std::optional<EncodableValue>& arguments) = 0;
};

/// A named channel for method calls. Letting go of it does not close it: the delegate stays.
class FlutterMethodChannel {
 public:
  virtual ~FlutterMethodChannel() = default;
};

/// A named channel for a stream of events. Letting go of it does not close it: the handler stays.
class FlutterEventChannel {
 public:
  virtual ~FlutterEventChannel() = default;

  /// Replaces the channel's handler, which the host framework owns from now on.
  virtual void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) = 0;
};

/// Where channels are opened: the plug-in's end of the line to one application.
class FlutterBinaryMessenger {
 public:
  virtual ~FlutterBinaryMessenger() = default;

  /// Opens the method channel of that name on this messenger. Never null.
  virtual std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) = 0;

  /// Opens the event channel of that name on this messenger. Never null.
  virtual std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) = 0;
};

/// Given to a plug-in at its registration, and valid during it.
class FlutterPluginRegistrar {
 public:
  virtual ~FlutterPluginRegistrar() = default;

  /// The messenger of the application that the plug-in is registered with.
  virtual FlutterBinaryMessenger& messenger() = 0;

  /// Hands every call that arrives on `channel` to `delegate`, which the host framework owns from
  /// now on. `channel` is one that this registrar's messenger opened.
  virtual void addMethodCallDelegate(std::shared_ptr<FlutterPlugin> delegate,
                                     FlutterMethodChannel& channel) = 0;
};

}  // namespace nimbrel
