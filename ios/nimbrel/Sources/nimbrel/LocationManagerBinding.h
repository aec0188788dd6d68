#pragma once

#import "Retained.h"
#import "include/nimbrel/NimbrelPlugin.h"
#include "platform/CoreLocation.hpp"

namespace nimbrel::ios {

/// A location manager of the phone, as the plug-in uses it.
class LocationManagerBinding final : public CLLocationManager {
 public:
  /// `receiver` is what the phone is told of a delegate: the object that owns the plug-in. It is
  /// not kept alive, and used by `setDelegate` alone.
  LocationManagerBinding(::CLLocationManager* manager, ::NimbrelPlugin* receiver)
      : manager_(manager), receiver_(receiver) {}

  void setDelegate(std::weak_ptr<CLLocationManagerDelegate> delegate) override;
  void setDesiredAccuracy(double accuracy) override;
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override;
  void requestAlwaysAuthorization() override;
  void startMonitoringFor(const CLBeaconRegion& region) override;
  void stopMonitoringFor(const CLBeaconRegion& region) override;
  void startRangingBeaconsIn(const CLBeaconRegion& region) override;
  void stopRangingBeaconsIn(const CLBeaconRegion& region) override;
  [[nodiscard]] std::vector<std::shared_ptr<const CLRegion>> monitoredRegions() const override;

 private:
  Retained<::CLLocationManager*> manager_;
  __unsafe_unretained ::NimbrelPlugin* receiver_;
};

}  // namespace nimbrel::ios
