#import <CoreBluetooth/CoreBluetooth.h>
#import <CoreLocation/CoreLocation.h>
#import <Flutter/Flutter.h>
#import <Foundation/Foundation.h>

/// The plug-in as the phone knows it: the one class that an application registers, and the
/// delegate of both channels and of both managers. It owns the plug-in proper and hands each
/// message on to it. Plain Objective-C, so that every application can import it.
@interface NimbrelPlugin : NSObject <FlutterPlugin,
                                     FlutterStreamHandler,
                                     CLLocationManagerDelegate,
                                     CBCentralManagerDelegate> {
 @private
  struct NimbrelPluginCore* _core;
}
@end
