#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/text/Decimal.hpp"
#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"

namespace nimbrel {

namespace {

/// The filters of one UUID text, in list order.
struct FilterGroup {
  std::string_view uuid;
  std::vector<const BeaconFilter*> filters;
};

/// The groups in the order in which their UUIDs first appear, so that a run can be foretold.
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

}  // namespace

void NimbrelPlugin::startBeaconMonitoring() {
  if (locationManager == nullptr || currentBeaconFilters.empty()) {
    log({"There are no UUIDs to monitor iBeacons"});
    return;
  }
  const std::vector<FilterGroup> groups = groupByUuid(currentBeaconFilters);
  log({"🍎 Setting up monitoring for ", Decimal(groups.size()), " Unique UUIDs"});

  std::vector<CLBeaconRegion> regions;
  for (const FilterGroup& group : groups) {
    const std::optional<UUID> uuid = parseUuid(group.uuid);
    if (!uuid.has_value()) {
      log({"UUID invalid: ", group.uuid});
      continue;
    }
    CLBeaconRegion& region = regions.emplace_back(*uuid, regionIdentifier(group));
    region.notifyOnEntry = true;
    region.notifyOnExit = true;
    region.notifyEntryStateOnDisplay = true;
    log({"   📍 Región creada:"});
    log({"     - UUID: ", group.uuid});
    log({"     - Identifier: ", region.identifier});
    log({"     - Filtros asociados: ", Decimal(group.filters.size())});
    for (std::size_t index = 0; index < group.filters.size(); ++index) {
      std::string line("       ");
      line.append(Decimal(index + 1)).append(". ");
      log({group.filters[index]->fullDescription(std::move(line))});
    }
  }
  if (regions.empty()) {
    log({"No valid beacon regions could be created"});
    return;
  }

  for (const CLBeaconRegion& region : regions) {
    locationManager->startMonitoringFor(region);
    const CLAuthorizationStatus status = authorizationStatus();
    if (status == CLAuthorizationStatus::authorizedAlways ||
        status == CLAuthorizationStatus::authorizedWhenInUse) {
      locationManager->startRangingBeaconsIn(region);
    }
  }
  log({"Started monitoring of ", Decimal(regions.size()), " beacon regions"});
}

}  // namespace nimbrel
