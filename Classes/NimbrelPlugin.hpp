#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Classes/bluetooth/AdvertisementDecoding.hpp"
#include "Classes/model/BeaconFilter.hpp"
#include "Classes/text/TransparentHash.hpp"
#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"
#include "platform/Flutter.hpp"
#include "platform/Platform.hpp"

namespace nimbrel {

/// The plug-in: at once the method-call handler, the stream handler and the delegate of both
/// managers. All its work runs on the main thread, without a lock. The host framework keeps it
/// alive through the two channels; managers and queued deliveries do not. Its end stops nothing
/// and answers nobody.
class NimbrelPlugin final : public FlutterPlugin,
                            public FlutterStreamHandler,
                            public CLLocationManagerDelegate,
                            public CBCentralManagerDelegate,
                            public std::enable_shared_from_this<NimbrelPlugin> {
 public:
  // core: registration

  /// Opens both channels on the registrar's messenger, builds the plug-in, makes it the receiver
  /// of both and gives it its managers. `platform` outlives the plug-in.
  static void registerWith(FlutterPluginRegistrar& registrar, Platform& platform);

  /// Makes the plug-in, where somebody else than the registration is to own its platform.
  using Builder = std::function<std::shared_ptr<NimbrelPlugin>()>;

  /// The same, with the plug-in that `build` makes in its turn. The plug-in's own platform gives it
  /// its managers.
  static void registerWith(FlutterPluginRegistrar& registrar, const Builder& build);

  /// A plug-in without managers, as `registerWith` first builds it. `platform` outlives it.
  explicit NimbrelPlugin(Platform& platform);

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
  /// When and how strongly a device was last let through by the thinning.
  struct Detection {
    double timestamp;  // seconds since 1970
    double rssi;       // dBm
  };

  // core: dispatch and lifecycle

  void handleStartDetection(const FlutterMethodCall& call, const FlutterResult& result);
  void startDetection(const FlutterResult& result);
  void stopDetection(const FlutterResult& result);
  void updateConfig(const FlutterMethodCall& call, const FlutterResult& result);

  // permission

  void checkPermissionStatus(const FlutterResult& result);
  void requestPermissions(FlutterResult result);
  /// The permission, read where the running system keeps it. Needs `locationManager` from 14.0 on.
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const;
  [[nodiscard]] bool asksManagerForAuthorization() const;

  // location

  void startBeaconMonitoring();
  void sendBeaconData(const CLBeacon& beacon, const CLBeaconRegion& region);

  // bluetooth

  void startGenericBLEScanning();
  void sendGenericBeaconData(const CBPeripheral& peripheral,
                             const CBAdvertisementData& advertisementData, double rssi);
  /// Decodes manufacturer data, with a diagnostic line for each step of the way.
  DecodedAdvertisement decodeManufacturerData(std::span<const std::uint8_t> data,
                                              const std::optional<std::string>& name);
  std::optional<std::string> searchMACPatternInDataSafe(std::span<const std::uint8_t> data);

  // model

  /// Queues the delivery of a finished event to whoever listens when its turn comes.
  void postDetectionEvent(EncodableMap event);
  [[nodiscard]] std::int64_t currentTimestamp() const;

  /// Writes one diagnostic line, put together from `parts`.
  void log(std::initializer_list<std::string_view> parts) const { platform.print(parts); }

  Platform& platform;

  std::unique_ptr<CLLocationManager> locationManager;
  std::unique_ptr<CBCentralManager> bluetoothManager;
  FlutterEventSink eventSink;
  FlutterResult permissionResult;
  std::unordered_map<std::string, Detection, TransparentHash, std::equal_to<>> lastBeaconDetections;
  const double minimumUpdateInterval = 2.0;  // seconds
  const double rssiThreshold = 3.0;          // dB
  bool isScanning = false;
  bool isInForeground = true;
  std::vector<BeaconFilter> currentBeaconFilters;
};

}  // namespace nimbrel
