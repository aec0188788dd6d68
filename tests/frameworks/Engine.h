#pragma once

#import <Flutter/Flutter.h>

#include "ios/nimbrel/Sources/nimbrel/Retained.h"

/// The registrar that a plug-in is given, in front of the engine's.
@interface EngineRegistrar : NSObject <FlutterPluginRegistrar> {
  nimbrel::FlutterPluginRegistrar* _registrar;
  NSObject<FlutterPlugin>* _delegate;
}
/// What was registered last; not kept alive.
@property(readonly, assign) NSObject<FlutterPlugin>* delegate;
+ (instancetype)registrarFor:(nimbrel::FlutterPluginRegistrar&)registrar;
@end

namespace nimbrel::fakes {

/// A plug-in object as the engine's channels hold it.
class ChannelEnd final : public FlutterPlugin, public FlutterStreamHandler {
 public:
  using Object = NSObject<FlutterPlugin, FlutterStreamHandler>*;

  explicit ChannelEnd(Object object) : object_(object) {}

  void handle(const FlutterMethodCall& call, FlutterResult result) override;
  std::optional<FlutterError> onListen(const std::optional<EncodableValue>& arguments,
                                       FlutterEventSink sink) override;
  std::optional<FlutterError> onCancel(const std::optional<EncodableValue>& arguments) override;

 private:
  ios::Retained<Object> object_;
};

}  // namespace nimbrel::fakes
