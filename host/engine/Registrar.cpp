#include "host/engine/Registrar.hpp"

#include <utility>

namespace nimbrel {

void MethodChannel::setMethodCallHandler(std::shared_ptr<FlutterPlugin> handler) {
  messenger_.setMethodCallHandler(name_, std::move(handler));
}

void Registrar::addMethodCallDelegate(std::shared_ptr<FlutterPlugin> delegate,
                                      FlutterMethodChannel& channel) {
  dynamic_cast<MethodChannel&>(channel).setMethodCallHandler(std::move(delegate));
}

}  // namespace nimbrel
