#pragma once

#import "Retained.h"
#import "include/nimbrel/NimbrelPlugin.h"
#include "platform/Flutter.hpp"

namespace nimbrel::ios {

/// The registrar of one registration, with the messenger that it gave last.
class RegistrarBinding final : public FlutterPluginRegistrar, private FlutterBinaryMessenger {
 public:
  explicit RegistrarBinding(NSObject<FlutterPluginRegistrar>* registrar) : registrar_(registrar) {}

  /// Names the object that receives what the channels bring. It owns the plug-in, and is handed to
  /// the host framework in the plug-in's place.
  void setDelegate(::NimbrelPlugin* delegate) { delegate_ = Retained<::NimbrelPlugin*>(delegate); }

  FlutterBinaryMessenger& messenger() override;
  void addMethodCallDelegate(std::shared_ptr<FlutterPlugin> delegate,
                             FlutterMethodChannel& channel) override;

 private:
  class MethodChannel;
  class EventChannel;

  std::unique_ptr<FlutterMethodChannel> methodChannelWithName(std::string_view name) override;
  std::unique_ptr<FlutterEventChannel> eventChannelWithName(std::string_view name) override;

  Retained<NSObject<FlutterPluginRegistrar>*> registrar_;
  Retained<NSObject<FlutterBinaryMessenger>*> messenger_;
  Retained<::NimbrelPlugin*> delegate_;
};

}  // namespace nimbrel::ios
