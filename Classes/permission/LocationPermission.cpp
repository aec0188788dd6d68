#include <utility>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

bool NimbrelPlugin::asksManagerForAuthorization() const {
  return platform.systemVersion() >= OperatingSystemVersion{14, 0, 0};
}

CLAuthorizationStatus NimbrelPlugin::authorizationStatus() const {
  return asksManagerForAuthorization() ? locationManager->authorizationStatus()
                                       : platform.authorizationStatus();
}

void NimbrelPlugin::checkPermissionStatus(const FlutterResult& result) {
  if (asksManagerForAuthorization() && locationManager == nullptr) {
    result("NOT_DETERMINED");
    return;
  }
  switch (authorizationStatus()) {
    case CLAuthorizationStatus::authorizedAlways:
    case CLAuthorizationStatus::authorizedWhenInUse:
      result("AUTHORIZED");
      return;
    case CLAuthorizationStatus::denied:
      result("DENIED");
      return;
    case CLAuthorizationStatus::restricted:
      result("RESTRICTED");
      return;
    case CLAuthorizationStatus::notDetermined:
      break;
  }
  result("NOT_DETERMINED");
}

void NimbrelPlugin::requestPermissions(FlutterResult result) {
  if (locationManager == nullptr) {
    result(false);
    return;
  }
  // Whatever the answer is, an earlier request that still waits gets none: one call, one answer.
  permissionResult = nullptr;
  const CLAuthorizationStatus status = authorizationStatus();
  if (status == CLAuthorizationStatus::notDetermined ||
      status == CLAuthorizationStatus::authorizedWhenInUse) {
    permissionResult = std::move(result);
    locationManager->requestAlwaysAuthorization();
    return;
  }
  result(status == CLAuthorizationStatus::authorizedAlways);
}

void NimbrelPlugin::locationManagerDidChangeAuthorization(CLLocationManager& /*manager*/,
                                                          CLAuthorizationStatus status) {
  if (!permissionResult || status == CLAuthorizationStatus::notDetermined) {
    return;
  }
  // A copy, because the application may make a new request while it takes the answer.
  const FlutterResult result = permissionResult;
  result(status == CLAuthorizationStatus::authorizedAlways ||
         status == CLAuthorizationStatus::authorizedWhenInUse);
  permissionResult = nullptr;
}

}  // namespace nimbrel
