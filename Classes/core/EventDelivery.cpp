#include <memory>
#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "Classes/model/DetectionEvent.hpp"

namespace nimbrel {

std::int64_t NimbrelPlugin::currentTimestamp() const {
  return timestampFrom(platform.timeIntervalSince1970());
}

void NimbrelPlugin::postDetectionEvent(EncodableMap event) {
  platform.dispatchMainAsync([weak = weak_from_this(), map = std::move(event)]() mutable {
    const std::shared_ptr<NimbrelPlugin> plugin = weak.lock();
    if (plugin != nullptr && plugin->eventSink) {
      // A copy: the application may stop listening inside the call, which destroys the member.
      const FlutterEventSink sink = plugin->eventSink;
      sink(EncodableValue(std::move(map)));
    }
  });
}

}  // namespace nimbrel
