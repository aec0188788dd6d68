#pragma once

#import "include/nimbrel/NimbrelPlugin.h"
#include "platform/Platform.hpp"

namespace nimbrel::ios {

/// The phone that the plug-in runs on.
class PlatformBinding final : public Platform {
 public:
  /// `receiver` becomes the delegate of each manager. It owns the plug-in, and so outlives this
  /// object's making of managers; it is not kept alive.
  explicit PlatformBinding(::NimbrelPlugin* receiver) : receiver_(receiver) {}

  std::unique_ptr<CLLocationManager> makeLocationManager() override;
  std::unique_ptr<CBCentralManager> makeCentralManager(
      std::weak_ptr<CBCentralManagerDelegate> delegate) override;
  [[nodiscard]] CLAuthorizationStatus authorizationStatus() const override;
  [[nodiscard]] OperatingSystemVersion systemVersion() const override;
  [[nodiscard]] double timeIntervalSince1970() const override;
  void dispatchMainAsync(DispatchTask task) override;
  [[nodiscard]] bool hasConsole() const override { return true; }
  void print(std::initializer_list<std::string_view> parts) override;

 private:
  __unsafe_unretained ::NimbrelPlugin* receiver_;
};

}  // namespace nimbrel::ios
