#pragma once

#include "host/engine/Application.hpp"
#include "host/phone/Request.hpp"
#include "host/scenario/Step.hpp"

namespace nimbrel {

/// Receives what happens on a stage, in the order in which it happens.
class StageObserver : public PhoneObserver {
 public:
  virtual void replied(const Application::Reply& reply) = 0;
  virtual void received(const EncodableValue& event) = 0;

  /// The phone is about to hear what a step advertises, and has heard it.
  virtual void hearing(const actions::Advertise& /*advertise*/) {}
  virtual void hasHeard() {}
};

}  // namespace nimbrel
