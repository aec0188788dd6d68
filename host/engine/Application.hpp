#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/engine/Messenger.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// The application at the other end of the plug-in's two channels.
class Application {
 public:
  static constexpr const char* kMethodChannel = "com.quorvane.nimbrel/methods";
  static constexpr const char* kEventChannel = "com.quorvane.nimbrel/events";

  /// The answer to one call. The application's first call has number 1.
  struct Reply {
    std::int64_t call;
    std::string method;
    FlutterReply value;
  };
  using ReplyHandler = std::function<void(const Reply&)>;

  /// `onReply` gets every answer. REQUIRES: `messenger` outlives the application.
  Application(Messenger& messenger, ReplyHandler onReply);

  void call(std::string method, std::optional<EncodableValue> arguments = std::nullopt);
  void listen(FlutterEventSink sink);
  void cancel();

 private:
  Messenger& messenger_;
  ReplyHandler onReply_;
  std::int64_t calls_ = 0;
};

}  // namespace nimbrel
