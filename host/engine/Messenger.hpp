#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// Carries the messages between one application and its plug-ins. Holds one handler for each
/// channel name, which keeps the plug-in alive; a new handler replaces the old one.
class Messenger final : public FlutterBinaryMessenger {
 public:
  // Called by plug-ins

  std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) override;
  std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) override;
  void setMethodCallHandler(std::string_view channel, std::shared_ptr<FlutterPlugin> handler);
  void setStreamHandler(std::string_view channel, std::shared_ptr<FlutterStreamHandler> handler);

  // Called by the application

  /// Passes the call to the channel's handler. Without a handler, the reply is "not implemented".
  void invokeMethod(std::string_view channel, const FlutterMethodCall& call, FlutterResult result);

  /// Starts listening with `sink`. If the application is listening already, the handler is first
  /// told that it stopped. Returns the handler's error if it refuses.
  std::optional<FlutterError> listen(std::string_view channel, FlutterEventSink sink);

  /// Stops listening. Returns an error, without calling the handler, if the application is not
  /// listening.
  std::optional<FlutterError> cancel(std::string_view channel);

 private:
  struct Stream {
    std::shared_ptr<FlutterStreamHandler> handler;
    bool isListening = false;
  };

  std::map<std::string, std::shared_ptr<FlutterPlugin>, std::less<>> methodHandlers_;
  std::map<std::string, Stream, std::less<>> streams_;
};

}  // namespace nimbrel
