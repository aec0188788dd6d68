#include <utility>

#include "Classes/NimbrelPlugin.hpp"

namespace nimbrel {

std::optional<FlutterError> NimbrelPlugin::onListen(
    const std::optional<EncodableValue>& /*arguments*/, FlutterEventSink sink) {
  eventSink = std::move(sink);
  return std::nullopt;
}

std::optional<FlutterError> NimbrelPlugin::onCancel(
    const std::optional<EncodableValue>& /*arguments*/) {
  eventSink = nullptr;
  return std::nullopt;
}

}  // namespace nimbrel
