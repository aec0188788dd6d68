#include <cassert>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

bool NimbrelPlugin::asksManagerForAuthorization() const {
  return platform.systemVersion() >= OperatingSystemVersion{14, 0, 0};
}

CLAuthorizationStatus NimbrelPlugin::authorizationStatus() const {
  assert(locationManager != nullptr || !asksManagerForAuthorization());
  return asksManagerForAuthorization() ? locationManager->authorizationStatus()
                                       : platform.authorizationStatus();
}

bool NimbrelPlugin::isAuthorized() const {
  const CLAuthorizationStatus status = authorizationStatus();
  return status == CLAuthorizationStatus::authorizedAlways ||
         status == CLAuthorizationStatus::authorizedWhenInUse;
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
  // A request that is still waiting is dropped without an answer, even if this one is answered now.
  permissionResult = nullptr;
  const CLAuthorizationStatus status = authorizationStatus();
  if (status == CLAuthorizationStatus::notDetermined ||
      status == CLAuthorizationStatus::authorizedWhenInUse) {
    // Stored before asking: the platform may answer during the call.
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
  // A copy: the application may make another request inside the call, which replaces the member.
  // That request is dropped below without an answer.
  const FlutterResult result = permissionResult;
  result(status == CLAuthorizationStatus::authorizedAlways ||
         status == CLAuthorizationStatus::authorizedWhenInUse);
  permissionResult = nullptr;
}

}  // namespace nimbrel
