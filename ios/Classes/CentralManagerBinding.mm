#import "CentralManagerBinding.h"

#import "Conversions.h"

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
  NSNumber* allowDuplicates = [NSNumber numberWithBool:options.allowDuplicates];
  [manager_.get()
      scanForPeripheralsWithServices:identifiers
                             options:
                                 [NSDictionary
                                     dictionaryWithObject:allowDuplicates
                                                   forKey:
                                                       CBCentralManagerScanOptionAllowDuplicatesKey]];
}

void CentralManagerBinding::stopScan() { [manager_.get() stopScan]; }

}  // namespace nimbrel::ios
