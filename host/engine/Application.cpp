#include "host/engine/Application.hpp"

#include <utility>

namespace nimbrel {

Application::Application(Messenger& messenger, ReplyHandler onReply)
    : messenger_(messenger), onReply_(std::move(onReply)) {}

void Application::call(std::string method, std::optional<EncodableValue> arguments) {
  const std::int64_t number = ++calls_;
  const FlutterMethodCall methodCall{std::move(method), std::move(arguments)};
  auto onValue = [onReply = onReply_, number, name = methodCall.method](FlutterReply value) {
    onReply({number, name, std::move(value)});
  };
  messenger_.invokeMethod(kMethodChannel, methodCall, std::move(onValue));
}

void Application::listen(FlutterEventSink sink) {
  messenger_.listen(kEventChannel, std::move(sink));
}

void Application::cancel() { messenger_.cancel(kEventChannel); }

}  // namespace nimbrel
