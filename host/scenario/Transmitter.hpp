#pragma once

#include <functional>
#include <memory>

#include "host/base/MainQueue.hpp"
#include "host/scenario/Step.hpp"

namespace nimbrel {

/// Puts the advertisements of steps on the air, repeats included.
class Transmitter {
 public:
  using Receiver = std::function<void(const actions::Advertise&)>;

  /// The queue outlives the transmitter, and runs no task once that is gone.
  Transmitter(MainQueue& queue, Receiver receiver);

  /// Sends at once and, where the action repeats, again while the time passes.
  void start(const actions::Advertise& advertise);

 private:
  void repeat(const std::shared_ptr<const actions::Advertise>& advertise, MainQueue::Time end);

  MainQueue& queue_;
  Receiver receiver_;
};

}  // namespace nimbrel
