#include "ios/nimbrel/Sources/nimbrel/ChannelConversions.h"
#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "tests/frameworks/Device.h"
#include "tests/frameworks/Engine.h"

using nimbrel::fakes::record;

NSObject const* FlutterMethodNotImplemented = @"FlutterMethodNotImplemented";

@implementation FlutterError
@synthesize code = _code, message = _message;

+ (instancetype)errorWithCode:(NSString*)code message:(NSString*)message details:(id)details {
  FlutterError* error = [[[self alloc] init] autorelease];
  error->_code = [code copy];
  error->_message = [message copy];
  return error;
}

- (void)dealloc {
  [_code release];
  [_message release];
  [super dealloc];
}
@end

@implementation FlutterStandardTypedData
@synthesize data = _data, type = _type;

static FlutterStandardTypedData* typedDataOf(NSData* data, FlutterStandardDataType type) {
  FlutterStandardTypedData* typed = [[[FlutterStandardTypedData alloc] init] autorelease];
  typed->_data = [data copy];
  typed->_type = type;
  return typed;
}

+ (instancetype)typedDataWithBytes:(NSData*)data {
  return typedDataOf(data, FlutterStandardDataTypeUInt8);
}

+ (instancetype)typedDataWithInt32:(NSData*)data {
  return typedDataOf(data, FlutterStandardDataTypeInt32);
}

- (void)dealloc {
  [_data release];
  [super dealloc];
}
@end

@implementation FlutterMethodCall
@synthesize method = _method, arguments = _arguments;

+ (instancetype)methodCallWithMethodName:(NSString*)method arguments:(id)arguments {
  FlutterMethodCall* call = [[[self alloc] init] autorelease];
  call->_method = [method copy];
  call->_arguments = [arguments retain];
  return call;
}

- (void)dealloc {
  [_method release];
  [_arguments release];
  [super dealloc];
}
@end

/// The messenger of an application, in front of the engine's.
@interface EngineMessenger : NSObject <FlutterBinaryMessenger> {
 @public
  nimbrel::FlutterBinaryMessenger* _messenger;
}
@end

@implementation EngineMessenger
@end

static nimbrel::FlutterBinaryMessenger& engineOf(NSObject<FlutterBinaryMessenger>* messenger) {
  return *static_cast<EngineMessenger*>(messenger)->_messenger;
}

@implementation FlutterMethodChannel
+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger {
  record(self, _cmd);
  FlutterMethodChannel* channel = [[[self alloc] init] autorelease];
  channel->_channel = engineOf(messenger).methodChannelWithName([name UTF8String]);
  return channel;
}
@end

@implementation FlutterEventChannel
+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger {
  record(self, _cmd);
  FlutterEventChannel* channel = [[[self alloc] init] autorelease];
  channel->_channel = engineOf(messenger).eventChannelWithName([name UTF8String]);
  return channel;
}

- (void)setStreamHandler:(NSObject<FlutterStreamHandler>*)handler {
  record(self, _cmd);
  _channel->setStreamHandler(std::make_shared<nimbrel::fakes::ChannelEnd>(
      static_cast<nimbrel::fakes::ChannelEnd::Object>(handler)));
}
@end

@implementation EngineRegistrar
@synthesize delegate = _delegate;

+ (instancetype)registrarFor:(nimbrel::FlutterPluginRegistrar&)registrar {
  EngineRegistrar* made = [[[self alloc] init] autorelease];
  made->_registrar = &registrar;
  return made;
}

- (NSObject<FlutterBinaryMessenger>*)messenger {
  record(self, _cmd);
  EngineMessenger* messenger = [[[EngineMessenger alloc] init] autorelease];
  messenger->_messenger = &_registrar->messenger();
  return messenger;
}

- (void)addMethodCallDelegate:(NSObject<FlutterPlugin>*)delegate
                      channel:(FlutterMethodChannel*)channel {
  record(self, _cmd);
  _delegate = delegate;
  _registrar->addMethodCallDelegate(std::make_shared<nimbrel::fakes::ChannelEnd>(
                                        static_cast<nimbrel::fakes::ChannelEnd::Object>(delegate)),
                                    *channel->_channel);
}
@end

namespace nimbrel::fakes {

namespace {

id objectFrom(const std::optional<EncodableValue>& arguments) {
  return arguments.has_value() ? ios::objectFrom(*arguments) : nil;
}

std::optional<FlutterError> errorFrom(::FlutterError* error) {
  if (error == nil) {
    return std::nullopt;
  }
  return FlutterError{ios::textFrom(error.code), ios::textFrom(error.message)};
}

}  // namespace

void ChannelEnd::handle(const FlutterMethodCall& call, FlutterResult result) {
  @autoreleasepool {
    auto* object = [::FlutterMethodCall methodCallWithMethodName:ios::stringFrom(call.method)
                                                       arguments:objectFrom(call.arguments)];
    [object_.get() handleMethodCall:object
                             result:^(id value) {
                               if (value == ::FlutterMethodNotImplemented) {
                                 result(nimbrel::FlutterMethodNotImplemented{});
                               } else {
                                 result(ios::valueFrom(value));
                               }
                             }];
  }
}

std::optional<FlutterError> ChannelEnd::onListen(const std::optional<EncodableValue>& arguments,
                                                 FlutterEventSink sink) {
  @autoreleasepool {
    return errorFrom([object_.get() onListenWithArguments:objectFrom(arguments)
                                                eventSink:^(id event) {
                                                  sink(ios::valueFrom(event));
                                                }]);
  }
}

std::optional<FlutterError> ChannelEnd::onCancel(const std::optional<EncodableValue>& arguments) {
  @autoreleasepool {
    return errorFrom([object_.get() onCancelWithArguments:objectFrom(arguments)]);
  }
}

}  // namespace nimbrel::fakes
