#import "PlatformBinding.h"

#import <dispatch/dispatch.h>

#include <cstdio>
#include <utility>

#import "CentralManagerBinding.h"
#import "LocationManagerBinding.h"

namespace nimbrel::ios {

std::unique_ptr<CLLocationManager> PlatformBinding::makeLocationManager() {
  const auto manager = Retained<::CLLocationManager*>::adopt([[::CLLocationManager alloc] init]);
  if (manager.get() == nil) {
    return nullptr;
  }
  return std::make_unique<LocationManagerBinding>(manager.get(), receiver_);
}

std::unique_ptr<CBCentralManager> PlatformBinding::makeCentralManager(
    std::weak_ptr<CBCentralManagerDelegate> delegate) {
  const auto manager = Retained<::CBCentralManager*>::adopt(
      [[::CBCentralManager alloc] initWithDelegate:delegate.expired() ? nil : receiver_ queue:nil]);
  return std::make_unique<CentralManagerBinding>(manager.get());
}

CLAuthorizationStatus PlatformBinding::authorizationStatus() const {
  return CLAuthorizationStatus([::CLLocationManager authorizationStatus]);
}

OperatingSystemVersion PlatformBinding::systemVersion() const {
  const NSOperatingSystemVersion version = [[NSProcessInfo processInfo] operatingSystemVersion];
  return {version.majorVersion, version.minorVersion, version.patchVersion};
}

double PlatformBinding::timeIntervalSince1970() const {
  return [[NSDate date] timeIntervalSince1970];
}

void PlatformBinding::dispatchMainAsync(DispatchTask task) {
  // A block copies what it captures, and the task may hold a whole event.
  const auto held = std::make_shared<const DispatchTask>(std::move(task));
  dispatch_async(dispatch_get_main_queue(), ^{
    (*held)();
  });
}

void PlatformBinding::print(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) {
    std::fwrite(part.data(), 1, part.size(), stdout);
  }
  std::fputc('\n', stdout);
}

}  // namespace nimbrel::ios
