#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// The line between one application and its plug-ins. It keeps one handler for each channel name,
/// and with it the plug-in alive; a handler set later replaces the earlier one.
class Messenger final : public FlutterBinaryMessenger {
 public:
  // The plug-in's end

  std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) override;
  std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) override;
  void setMethodCallHandler(std::string_view channel, std::shared_ptr<FlutterPlugin> handler);
  void setStreamHandler(std::string_view channel, std::shared_ptr<FlutterStreamHandler> handler);

  // The application's end

  /// Hands the call to the channel's handler. Without one, the reply is "not implemented".
  void invokeMethod(std::string_view channel, const FlutterMethodCall& call, FlutterResult result);

  /// Starts to listen with `sink`. While the application listens already, the handler is first
  /// told that it stopped. Returns the error of a refusal.
  std::optional<FlutterError> listen(std::string_view channel, FlutterEventSink sink);

  /// Stops listening. Returns an error where the application does not listen, and the handler
  /// hears nothing of it.
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
