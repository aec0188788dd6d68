#import "CentralManagerBinding.h"

#import "FoundationConversions.h"

namespace nimbrel::ios {

CBManagerState CentralManagerBinding::state() const {
  return CBManagerState([manager_.get() state]);
}

void CentralManagerBinding::scanForPeripherals(const std::optional<std::vector<UUID>>& services,
                                               const CBScanOptions& options) {
  NSMutableArray* identifiers = nil;
  if (services.has_value()) {
    identifiers = [NSMutableArray arrayWithCapacity:services->size()];
    for (const UUID& service : *services) {
      [identifiers addObject:[CBUUID UUIDWithNSUUID:uuidFrom(service)]];
    }
  }
  [manager_.get() scanForPeripheralsWithServices:identifiers
                                         options:@{
                                           CBCentralManagerScanOptionAllowDuplicatesKey :
                                               @(options.allowDuplicates)
                                         }];
}

void CentralManagerBinding::stopScan() { [manager_.get() stopScan]; }

}  // namespace nimbrel::ios
