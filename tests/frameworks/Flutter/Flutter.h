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

typedef NS_ENUM(NSInteger, FlutterStandardDataType) {
  FlutterStandardDataTypeUInt8,
  FlutterStandardDataTypeInt32,
  FlutterStandardDataTypeInt64,
  FlutterStandardDataTypeFloat32,
  FlutterStandardDataTypeFloat64,
};

/// How the codec hands over bytes and lists of numbers of one width.
@interface FlutterStandardTypedData : NSObject {
  NSData* _data;
  FlutterStandardDataType _type;
}
@property(readonly) NSData* data;
@property(readonly) FlutterStandardDataType type;
+ (instancetype)typedDataWithBytes:(NSData*)data;
+ (instancetype)typedDataWithInt32:(NSData*)data;
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
