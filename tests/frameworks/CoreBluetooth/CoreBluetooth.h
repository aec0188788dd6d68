#pragma once

#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/CoreBluetooth.hpp"

typedef NS_ENUM(NSInteger, CBManagerState) {
  CBManagerStateUnknown,
  CBManagerStateResetting,
  CBManagerStateUnsupported,
  CBManagerStateUnauthorized,
  CBManagerStatePoweredOff,
  CBManagerStatePoweredOn,
};

extern NSString* const CBCentralManagerScanOptionAllowDuplicatesKey;
extern NSString* const CBAdvertisementDataManufacturerDataKey;

@interface CBUUID : NSObject {
  NSUUID* _uuid;
}
@property(readonly) NSUUID* uuid;
+ (instancetype)UUIDWithNSUUID:(NSUUID*)uuid;
@end

@interface CBPeripheral : NSObject {
  NSUUID* _identifier;
  NSString* _name;
}
@property(readonly) NSUUID* identifier;
@property(readonly) NSString* name;
- (instancetype)initWithIdentifier:(NSUUID*)identifier name:(NSString*)name;
@end

@protocol CBCentralManagerDelegate;

@interface CBCentralManager : NSObject {
  std::unique_ptr<nimbrel::CBCentralManager> _service;
  std::shared_ptr<nimbrel::CBCentralManagerDelegate> _reporter;
  id<CBCentralManagerDelegate> _delegate;
  std::optional<std::vector<nimbrel::UUID>> _lastServices;
  nimbrel::CBScanOptions _lastOptions;
}
@property(readonly, assign) id<CBCentralManagerDelegate> delegate;
/// What the last request asked for.
@property(readonly) std::optional<std::vector<nimbrel::UUID>> lastServices;
@property(readonly) nimbrel::CBScanOptions lastOptions;
- (instancetype)initWithDelegate:(id<CBCentralManagerDelegate>)delegate
                           queue:(dispatch_queue_t)queue;
- (CBManagerState)state;
- (void)scanForPeripheralsWithServices:(NSArray*)services options:(NSDictionary*)options;
- (void)stopScan;
@end

@protocol CBCentralManagerDelegate <NSObject>
- (void)centralManagerDidUpdateState:(CBCentralManager*)central;
@optional
- (void)centralManager:(CBCentralManager*)central
    didDiscoverPeripheral:(CBPeripheral*)peripheral
        advertisementData:(NSDictionary*)advertisementData
                     RSSI:(NSNumber*)RSSI;
@end
