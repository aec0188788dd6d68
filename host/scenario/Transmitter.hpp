#pragma once

#include <functional>
#include <memory>

#include "host/base/MainQueue.hpp"
#include "host/scenario/Step.hpp"

namespace nimbrel {

/// Sends the advertisements of steps, with their repeats.
class Transmitter {
 public:
  using Receiver = std::function<void(const actions::Advertise&)>;

  /// REQUIRES: the queue outlives the transmitter and runs no task after its end.
  Transmitter(MainQueue& queue, Receiver receiver);

  /// Sends at once and, if the action repeats, again as time passes.
  void start(const actions::Advertise& advertise);

 private:
  void repeat(const std::shared_ptr<const actions::Advertise>& advertise, MainQueue::Time end);

  MainQueue& queue_;
  Receiver receiver_;
};

}  // namespace nimbrel
