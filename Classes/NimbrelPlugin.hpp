#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "Classes/bluetooth/DetectionMemory.hpp"
#include "Classes/model/BeaconFilter.hpp"
#include "Classes/text/TextOf.hpp"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/Flutter.hpp"
#include "platform/Platform.hpp"

namespace nimbrel {

/// The plug-in: the method-call handler, the stream handler and the delegate of both managers in
/// one object. It runs on the main thread only and uses no locks. The host framework keeps it alive
/// through the two channels; the managers and queued deliveries hold it weakly. Destroying it stops
/// no detection and answers no pending call.
class NimbrelPlugin final : public FlutterPlugin,
                            public FlutterStreamHandler,
                            public CLLocationManagerDelegate,
                            public CBCentralManagerDelegate,
                            public std::enable_shared_from_this<NimbrelPlugin> {
 public:
  // core: registration

  /// Opens both channels on the registrar's messenger, builds a plug-in, connects it to both and
  /// gives it its managers. REQUIRES: `platform` outlives the plug-in.
  static void registerWith(FlutterPluginRegistrar& registrar, Platform& platform);

  /// Builds a plug-in. Never returns null.
  using Builder = std::function<std::shared_ptr<NimbrelPlugin>()>;

  /// The same for a plug-in that `build` makes, for callers that own the platform some other way.
  /// The platform that the plug-in was built with makes the managers.
  static void registerWith(FlutterPluginRegistrar& registrar, const Builder& build);

  /// Builds a plug-in without managers. REQUIRES: `device` outlives it.
  explicit NimbrelPlugin(Platform& device);

  // core: event stream

  std::optional<FlutterError> onListen(const std::optional<EncodableValue>& arguments,
                                       FlutterEventSink sink) override;
  std::optional<FlutterError> onCancel(const std::optional<EncodableValue>& arguments) override;

  // core: dispatch

  void handle(const FlutterMethodCall& call, FlutterResult result) override;

  // permission

  void locationManagerDidChangeAuthorization(CLLocationManager& manager,
                                             CLAuthorizationStatus status) override;

  // location

  void locationManagerDidRangeBeacons(CLLocationManager& manager,
                                      const std::vector<CLBeacon>& beacons,
                                      const CLBeaconRegion& region) override;
  void locationManagerDidEnterRegion(CLLocationManager& manager, const CLRegion& region) override;
  void locationManagerDidExitRegion(CLLocationManager& manager, const CLRegion& region) override;
  void locationManagerDidFailWithError(CLLocationManager& manager, const NSError& error) override;
  void locationManagerMonitoringDidFailFor(CLLocationManager& manager, const CLRegion* region,
                                           const NSError& error) override;
  void locationManagerRangingBeaconsDidFailFor(CLLocationManager& manager,
                                               const CLBeaconRegion& region,
                                               const NSError& error) override;

  // bluetooth

  void centralManagerDidUpdateState(CBCentralManager& central) override;
  void centralManagerDidDiscover(CBCentralManager& central, const CBPeripheral& peripheral,
                                 const CBAdvertisementData& advertisementData,
                                 double rssi) override;

 private:
  // core: dispatch and lifecycle

  void handleStartDetection(const FlutterMethodCall& call, const FlutterResult& result);
  void startDetection(const FlutterResult& result);
  void stopDetection(const FlutterResult& result);
  void updateConfig(const FlutterMethodCall& call, const FlutterResult& result);

  // permission

  void checkPermissionStatus(const FlutterResult& result);
  void requestPermissions(FlutterResult result);
  /// The current location permission: from 14.0 on the manager's, before that the class-level one.
  /// REQUIRES: `locationManager` is set, or `asksManagerForAuthorization()` is false.
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const;
  [[nodiscard]] bool asksManagerForAuthorization() const;
  /// Whether the permission allows detection: always, or when in use.
  [[nodiscard]] bool isAuthorized() const;

  // location

  void startBeaconMonitoring();
  void sendBeaconData(const CLBeacon& beacon, const CLBeaconRegion& region);

  // bluetooth

  void startGenericBLEScanning();
  void sendGenericBeaconData(const CBPeripheral& peripheral,
                             const CBAdvertisementData& advertisementData, double rssi);
  /// What the manufacturer data of one advertisement holds.
  struct DecodedAdvertisement {
    /// The first six bytes in hexadecimal digits, joined by colons; empty if there are fewer.
    PlainText mac;
    std::optional<BeaconFrame> frame;
  };
  /// Decodes manufacturer data and logs each step.
  DecodedAdvertisement decodeManufacturerData(std::span<const std::uint8_t> data,
                                              const std::optional<std::string>& name);
  std::optional<PlainText> searchMACPatternInDataSafe(std::span<const std::uint8_t> data);

  // model

  /// Queues the delivery of an event. It goes to the sink that is set when the task runs, and is
  /// dropped if there is none.
  void postDetectionEvent(EncodableMap event);
  /// The wall clock in milliseconds since 1970.
  [[nodiscard]] std::int64_t currentTimestamp() const;

  /// Writes one diagnostic line: the texts, integers and UUIDs in `parts`, joined. Where there is
  /// no console, none of them is made into text.
  template <typename... Parts>
  void log(const Parts&... parts) const {
    if (platform.hasConsole()) {
      platform.print({textOf(parts)...});
    }
  }

  Platform& platform;

  std::unique_ptr<CLLocationManager> locationManager;
  std::unique_ptr<CBCentralManager> bluetoothManager;
  FlutterEventSink eventSink;
  FlutterResult permissionResult;
  DetectionMemory lastBeaconDetections;
  const double minimumUpdateInterval = 2.0;  // seconds
  const double rssiThreshold = 3.0;          // dB
  bool isScanning = false;
  bool isInForeground = true;
  std::vector<BeaconFilter> currentBeaconFilters;
};

}  // namespace nimbrel
