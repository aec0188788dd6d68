#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/text/Decimal.hpp"
#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

/// The filters with one UUID text, in list order.
struct FilterGroup {
  std::string_view uuid;
  std::vector<const BeaconFilter*> filters;
};

/// Groups filters by UUID text, in the order in which the texts first appear: the same filters
/// always give the same regions in the same order.
std::vector<FilterGroup> groupByUuid(const std::vector<BeaconFilter>& filters) {
  std::vector<FilterGroup> groups;
  std::unordered_map<std::string_view, std::size_t> places;
  for (const BeaconFilter& filter : filters) {
    const auto [place, isNew] = places.try_emplace(filter.uuid(), groups.size());
    if (isNew) {
      groups.push_back({filter.uuid(), {}});
    }
    groups[place->second].filters.push_back(&filter);
  }
  return groups;
}

std::string regionIdentifier(const FilterGroup& group) {
  if (group.filters.size() == 1 && group.filters.front()->hasLabel()) {
    return *group.filters.front()->identifier();
  }
  std::string identifier("beacon_");
  identifier.append(firstCharacters(group.uuid, 8));
  if (group.filters.size() > 1) {
    identifier.append("_multiple");
  }
  return identifier;
}

CLBeaconRegion makeRegion(const UUID& uuid, const FilterGroup& group) {
  CLBeaconRegion region(uuid, regionIdentifier(group));
  region.notifyOnEntry = true;
  region.notifyOnExit = true;
  region.notifyEntryStateOnDisplay = true;
  return region;
}

void logRegion(const CLBeaconRegion& region, const FilterGroup& group, Platform& platform) {
  platform.print({"   📍 Región creada:"});
  platform.print({"     - UUID: ", group.uuid});
  platform.print({"     - Identifier: ", region.identifier});
  platform.print({"     - Filtros asociados: ", Decimal(group.filters.size())});
  for (std::size_t index = 0; index < group.filters.size(); ++index) {
    std::string line("       ");
    line.append(Decimal(index + 1)).append(". ");
    platform.print({group.filters[index]->fullDescription(std::move(line))});
  }
}

/// Makes and logs a region for each group, leaving out those whose text is not a UUID.
std::vector<CLBeaconRegion> makeRegions(const std::vector<FilterGroup>& groups,
                                        Platform& platform) {
  std::vector<CLBeaconRegion> regions;
  for (const FilterGroup& group : groups) {
    if (const std::optional<UUID> uuid = parseUuid(group.uuid)) {
      regions.push_back(makeRegion(*uuid, group));
      logRegion(regions.back(), group, platform);
    } else {
      platform.print({"UUID invalid: ", group.uuid});
    }
  }
  return regions;
}

}  // namespace

void NimbrelPlugin::startBeaconMonitoring() {
  if (locationManager == nullptr || currentBeaconFilters.empty()) {
    log("There are no UUIDs to monitor iBeacons");
    return;
  }
  const std::vector<FilterGroup> groups = groupByUuid(currentBeaconFilters);
  log("🍎 Setting up monitoring for ", groups.size(), " Unique UUIDs");
  const std::vector<CLBeaconRegion> regions = makeRegions(groups, platform);
  if (regions.empty()) {
    log("No valid beacon regions could be created");
    return;
  }
  for (const CLBeaconRegion& region : regions) {
    locationManager->startMonitoringFor(region);
    // Read again for each region: the permission may change during the set-up.
    if (isAuthorized()) {
      locationManager->startRangingBeaconsIn(region);
    }
  }
  log("Started monitoring of ", regions.size(), " beacon regions");
}

}  // namespace nimbrel
