#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/model/EncodableAccess.hpp"

namespace nimbrel {

namespace {

/// The filter maps of a start request, in list order. If one element is not a map with text keys,
/// the whole list counts as missing.
std::vector<const EncodableMap*> filterMaps(const std::optional<EncodableValue>& arguments) {
  const EncodableMap* map = arguments.has_value() ? textKeyedMap(*arguments) : nullptr;
  const auto* list = map != nullptr ? valueFor<EncodableList>(*map, "filters") : nullptr;
  if (list == nullptr) {
    return {};
  }
  std::vector<const EncodableMap*> maps;
  maps.reserve(list->size());
  for (const EncodableValue& element : *list) {
    const EncodableMap* filter = textKeyedMap(element);
    if (filter == nullptr) {
      return {};
    }
    maps.push_back(filter);
  }
  return maps;
}

}  // namespace

void NimbrelPlugin::handle(const FlutterMethodCall& call, FlutterResult result) {
  if (call.method == "checkPermissionStatus") {
    checkPermissionStatus(result);
  } else if (call.method == "requestPermissions") {
    requestPermissions(std::move(result));
  } else if (call.method == "startDetection") {
    handleStartDetection(call, result);
  } else if (call.method == "stopDetection") {
    stopDetection(result);
  } else if (call.method == "updateConfig") {
    updateConfig(call, result);
  } else {
    result(FlutterMethodNotImplemented{});
  }
}

void NimbrelPlugin::handleStartDetection(const FlutterMethodCall& call,
                                         const FlutterResult& result) {
  currentBeaconFilters.clear();
  for (const EncodableMap* map : filterMaps(call.arguments)) {
    if (auto filter = BeaconFilter::from(*map)) {
      currentBeaconFilters.push_back(std::move(*filter));
      log(currentBeaconFilters.back().description("📍 Added filter: "));
    }
  }
  log("🎯 Starting detection with ", currentBeaconFilters.size(), " filters");
  for (const BeaconFilter& filter : currentBeaconFilters) {
    log(filter.description("   - "));
  }
  startDetection(result);
}

}  // namespace nimbrel
