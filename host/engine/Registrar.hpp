#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/engine/Messenger.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// A method channel. Holds its name, by which the registrar sets the handler.
class MethodChannel final : public FlutterMethodChannel {
 public:
  MethodChannel(Messenger& messenger, std::string_view name) : messenger_(messenger), name_(name) {}

  void setMethodCallHandler(std::shared_ptr<FlutterPlugin> handler);

 private:
  Messenger& messenger_;
  std::string name_;
};

/// Registers plug-ins with the application that uses a messenger.
class Registrar final : public FlutterPluginRegistrar {
 public:
  explicit Registrar(Messenger& messenger) : messenger_(messenger) {}

  FlutterBinaryMessenger& messenger() override { return messenger_; }
  void addMethodCallDelegate(std::shared_ptr<FlutterPlugin> delegate,
                             FlutterMethodChannel& channel) override;

 private:
  Messenger& messenger_;
};

}  // namespace nimbrel
