#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/EncodableValue.hpp"

namespace nimbrel {

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
