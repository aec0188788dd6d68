#include "host/engine/Messenger.hpp"

#include <utility>

#include "host/engine/Registrar.hpp"

namespace nimbrel {

namespace {

class EventChannel final : public FlutterEventChannel {
 public:
  EventChannel(Messenger& messenger, std::string_view name) : messenger_(messenger), name_(name) {}

  void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) override {
    messenger_.setStreamHandler(name_, std::move(handler));
  }

 private:
  Messenger& messenger_;
  std::string name_;
};

}  // namespace

std::unique_ptr<FlutterMethodChannel> Messenger::methodChannelWithName(std::string_view name) {
  return std::make_unique<MethodChannel>(*this, name);
}

std::unique_ptr<FlutterEventChannel> Messenger::eventChannelWithName(std::string_view name) {
  return std::make_unique<EventChannel>(*this, name);
}

void Messenger::setMethodCallHandler(std::string_view channel,
                                     std::shared_ptr<FlutterPlugin> handler) {
  methodHandlers_.insert_or_assign(std::string(channel), std::move(handler));
}

void Messenger::setStreamHandler(std::string_view channel,
                                 std::shared_ptr<FlutterStreamHandler> handler) {
  streams_.insert_or_assign(std::string(channel), Stream{std::move(handler)});
}

void Messenger::invokeMethod(std::string_view channel, const FlutterMethodCall& call,
                             FlutterResult result) {
  const auto handler = methodHandlers_.find(channel);
  if (handler == methodHandlers_.end()) {
    result(FlutterMethodNotImplemented{});
    return;
  }
  handler->second->handle(call, std::move(result));
}

std::optional<FlutterError> Messenger::listen(std::string_view channel, FlutterEventSink sink) {
  const auto stream = streams_.find(channel);
  if (stream == streams_.end()) {
    return FlutterError{"error", "No stream handler on " + std::string(channel)};
  }
  if (stream->second.isListening) {
    stream->second.handler->onCancel(std::nullopt);
  }
  std::optional<FlutterError> refusal =
      stream->second.handler->onListen(std::nullopt, std::move(sink));
  stream->second.isListening = !refusal.has_value();
  return refusal;
}

std::optional<FlutterError> Messenger::cancel(std::string_view channel) {
  const auto stream = streams_.find(channel);
  if (stream == streams_.end() || !stream->second.isListening) {
    return FlutterError{"error", "No active stream to cancel"};
  }
  stream->second.isListening = false;
  return stream->second.handler->onCancel(std::nullopt);
}

}  // namespace nimbrel
