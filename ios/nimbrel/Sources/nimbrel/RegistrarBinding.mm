#import "RegistrarBinding.h"

#import "FoundationConversions.h"

namespace nimbrel::ios {

class RegistrarBinding::MethodChannel final : public FlutterMethodChannel {
 public:
  explicit MethodChannel(::FlutterMethodChannel* channel) : object(channel) {}

  const Retained<::FlutterMethodChannel*> object;
};

class RegistrarBinding::EventChannel final : public FlutterEventChannel {
 public:
  EventChannel(::FlutterEventChannel* channel, const Retained<::NimbrelPlugin*>& receiver)
      : object_(channel), receiver_(receiver) {}

  void setStreamHandler(std::shared_ptr<FlutterStreamHandler> /*handler*/) override {
    [object_.get() setStreamHandler:receiver_.get()];
  }

 private:
  const Retained<::FlutterEventChannel*> object_;
  const Retained<::NimbrelPlugin*>& receiver_;  // named only once the channels are open
};

FlutterBinaryMessenger& RegistrarBinding::messenger() {
  messenger_ = Retained<NSObject<FlutterBinaryMessenger>*>([registrar_.get() messenger]);
  return *this;
}

std::unique_ptr<FlutterMethodChannel> RegistrarBinding::methodChannelWithName(
    std::string_view name) {
  return std::make_unique<MethodChannel>([::FlutterMethodChannel
      methodChannelWithName:stringFrom(name)
            binaryMessenger:messenger_.get()]);
}

std::unique_ptr<FlutterEventChannel> RegistrarBinding::eventChannelWithName(std::string_view name) {
  return std::make_unique<EventChannel>(
      [::FlutterEventChannel eventChannelWithName:stringFrom(name)
                                  binaryMessenger:messenger_.get()],
      delegate_);
}

void RegistrarBinding::addMethodCallDelegate(std::shared_ptr<FlutterPlugin> /*delegate*/,
                                             FlutterMethodChannel& channel) {
  [registrar_.get() addMethodCallDelegate:delegate_.get()
                                  channel:dynamic_cast<MethodChannel&>(channel).object.get()];
}

}  // namespace nimbrel::ios
