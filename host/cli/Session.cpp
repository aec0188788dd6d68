#include "host/cli/Session.hpp"

#include <utility>

#include "Classes/NimbrelPlugin.hpp"
#include "host/engine/Registrar.hpp"

namespace nimbrel {

Session::Session(const EncodableList& filters, const Phone::Setup& setup, MainQueue& queue)
    : filters_(filters),
      queue_(queue),
      phone_(setup, queue, *this),
      application_(messenger_, [](const auto& /*reply*/) {}) {}

void Session::start() {
  begin_ = queue_.now();
  startDetection();
}

void Session::startOver() {
  application_.call("stopDetection");
  application_.cancel();
  queue_.drain();
  startDetection();
}

void Session::startDetection() {
  Registrar registrar(messenger_);
  NimbrelPlugin::registerWith(registrar, phone_);
  queue_.drain();
  application_.listen([this](const EncodableValue& event) { received(event); });
  EncodableMap arguments;
  arguments.emplace_back("filters", filters_);
  application_.call("startDetection", std::move(arguments));
}

void Session::hear(const Advertisement& advertisement) {
  ++advertisements_;
  phone_.hear(advertisement);
  queue_.drain();
}

void Session::stop() {
  application_.call("stopDetection");
  queue_.drain();
}

}  // namespace nimbrel
