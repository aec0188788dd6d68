#include "host/engine/Application.hpp"

#include <utility>

namespace nimbrel {

Application::Application(Messenger& messenger, ReplyHandler onReply)
    : messenger_(messenger), onReply_(std::move(onReply)) {}

void Application::call(std::string method, std::optional<EncodableValue> arguments) {
  const std::int64_t number = ++calls_;
  const FlutterMethodCall methodCall{std::move(method), std::move(arguments)};
  messenger_.invokeMethod(
      methodChannel, methodCall,
      [onReply = onReply_, number, name = methodCall.method](FlutterReply value) {
        onReply({number, name, std::move(value)});
      });
}

void Application::listen(FlutterEventSink sink) {
  messenger_.listen(eventChannel, std::move(sink));
}

void Application::cancel() { messenger_.cancel(eventChannel); }

}  // namespace nimbrel
