#pragma once

#include <functional>

#include "host/base/MainQueue.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/phone/Phone.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/StageObserver.hpp"
#include "host/scenario/Step.hpp"
#include "host/scenario/Transmitter.hpp"

namespace nimbrel {

/// Creates a plug-in on a phone and connects it with an application: by its registration or, if
/// `isRegistered` is false, directly.
using PluginAttachment = std::function<void(Messenger& messenger, Phone& phone, bool isRegistered)>;

/// Attaches the plug-in itself.
void attachPlugin(Messenger& messenger, Phone& phone, bool isRegistered);

/// An application, its phone and the air around it, which perform the steps of a scenario.
class Stage {
 public:
  /// Attaches the plug-in and runs the tasks that this queues. REQUIRES: queue and observer
  /// outlive the stage, and the queue runs no task after the stage's end.
  Stage(const PhoneLine& line, MainQueue& queue, StageObserver& observer,
        const PluginAttachment& attach);

  [[nodiscard]] MainQueue& queue() { return queue_; }
  [[nodiscard]] Phone& phone() { return phone_; }

  /// Performs a step now.
  void perform(const Step::Action& action);

  /// The phone receives an advertisement that is not from a step.
  void hear(const Advertisement& advertisement);

 private:
  void perform(const actions::Call& call);
  void perform(const actions::Listen& listen);
  void perform(const actions::ChangeAuthorization& change);
  void perform(const actions::ChangeBluetooth& change);
  void perform(const actions::SetClock& set);
  void perform(const actions::Discover& discover);
  void perform(const actions::Range& range);
  void perform(const actions::Cross& cross);
  void perform(const actions::FailLocation& fail);
  void perform(const actions::FailMonitoring& fail);
  void perform(const actions::FailRanging& fail);
  void perform(const actions::Advertise& advertise);
  void perform(const actions::Wait& wait);
  void hear(const actions::Advertise& advertise);
  /// Passes what a step advertises to the phone.
  void pass(const actions::Advertise& advertise);

  MainQueue& queue_;
  StageObserver& observer_;
  Phone phone_;
  Messenger messenger_;
  Application application_;
  Transmitter transmitter_;
};

}  // namespace nimbrel
