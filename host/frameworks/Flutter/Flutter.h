#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "platform/Flutter.hpp"

typedef void (^FlutterResult)(id result);
typedef void (^FlutterEventSink)(id event);
extern NSObject const* FlutterMethodNotImplemented;

@interface FlutterError : NSObject {
  NSString* _code;
  NSString* _message;
}
@property(readonly) NSString* code;
@property(readonly) NSString* message;
+ (instancetype)errorWithCode:(NSString*)code message:(NSString*)message details:(id)details;
@end

@interface FlutterMethodCall : NSObject {
  NSString* _method;
  id _arguments;
}
@property(readonly) NSString* method;
@property(readonly) id arguments;
+ (instancetype)methodCallWithMethodName:(NSString*)method arguments:(id)arguments;
@end

@protocol FlutterBinaryMessenger <NSObject>
@end

@interface FlutterMethodChannel : NSObject {
 @public
  std::unique_ptr<nimbrel::FlutterMethodChannel> _channel;
}
+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger;
@end

@protocol FlutterStreamHandler
- (FlutterError*)onListenWithArguments:(id)arguments eventSink:(FlutterEventSink)events;
- (FlutterError*)onCancelWithArguments:(id)arguments;
@end

@interface FlutterEventChannel : NSObject {
  std::unique_ptr<nimbrel::FlutterEventChannel> _channel;
}
+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger;
- (void)setStreamHandler:(NSObject<FlutterStreamHandler>*)handler;
@end

@protocol FlutterPlugin;

@protocol FlutterPluginRegistrar <NSObject>
- (NSObject<FlutterBinaryMessenger>*)messenger;
- (void)addMethodCallDelegate:(NSObject<FlutterPlugin>*)delegate
                      channel:(FlutterMethodChannel*)channel;
@end

@protocol FlutterPlugin <NSObject>
+ (void)registerWithRegistrar:(NSObject<FlutterPluginRegistrar>*)registrar;
@optional
- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result;
@end
