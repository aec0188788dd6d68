#pragma once

#import <CoreBluetooth/CoreBluetooth.h>

#import "Retained.h"
#include "platform/CoreBluetooth.hpp"

namespace nimbrel::ios {

/// A central manager of the phone, as the plug-in uses it.
class CentralManagerBinding final : public CBCentralManager {
 public:
  explicit CentralManagerBinding(::CBCentralManager* manager) : manager_(manager) {}

  [[nodiscard]] CBManagerState state() const override;
  void scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                          const CBScanOptions& options) override;
  void stopScan() override;

 private:
  Retained<::CBCentralManager*> manager_;
};

}  // namespace nimbrel::ios
