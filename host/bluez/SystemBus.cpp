#include "host/bluez/SystemBus.hpp"

#include <algorithm>
#include <utility>

namespace nimbrel {

SystemBus::SystemBus(MainQueue& mainQueue, std::function<void()> whenLost)
    : queue_(mainQueue),
      lost_(std::move(whenLost)),
      connection_(sdbus::createSystemBusConnection()),
      descriptor_(connection_->getEventLoopPollData().fd) {
  sdbus_series::addObjectManager(*connection_);
  const auto whenReady = [this] { process(); };
  const auto wanted = [this] { return interest(); };
  queue_.watch(descriptor_, whenReady, wanted);
}

SystemBus::~SystemBus() { queue_.unwatch(descriptor_); }

std::unique_ptr<sdbus::IProxy> SystemBus::object(const std::string& program,
                                                 const std::string& path) {
  return sdbus::createProxy(*connection_, sdbus_series::ServiceName(program),
                            sdbus::ObjectPath(path));
}

std::unique_ptr<sdbus::IObject> SystemBus::make(const std::string& path) {
  return sdbus::createObject(*connection_, sdbus::ObjectPath(path));
}

void SystemBus::post(std::function<void()> task) {
  arrived_.emplace_back([isAlive = std::weak_ptr(life_), task = std::move(task)] {
    if (!isAlive.expired()) {
      task();
    }
  });
}

void SystemBus::handOut() {
  // A shorter lag is no suspension: the machine was busy.
  constexpr MainQueue::Time kSuspension = std::chrono::seconds(1);
  const MainQueue::Time now = queue_.now();
  const MainQueue::Time end = now + queue_.lag();
  const MainQueue::Time begin = std::max(now, handedOutUntil_);
  const auto count = static_cast<MainQueue::Time::rep>(arrived_.size());
  for (MainQueue::Time::rep index = 0; index < count; ++index) {
    auto& task = arrived_[static_cast<std::size_t>(index)];
    if (handedOutUntil_ < now && end - now < kSuspension) {
      queue_.async(std::move(task));
    } else {
      handedOutUntil_ =
          begin + std::max(end - begin, MainQueue::Time::zero()) * (index + 1) / count;
      queue_.at(handedOutUntil_, std::move(task));
    }
  }
  arrived_.clear();
}

void SystemBus::process() {
  try {
    while (sdbus_series::processOne(*connection_)) {
    }
  } catch (const sdbus::Error&) {
    queue_.unwatch(descriptor_);
    post(lost_);
  }
  handOut();
}

MainQueue::Interest SystemBus::interest() const {
  try {
    const auto wanted = connection_->getEventLoopPollData();
    return {wanted.events, sdbus_series::longestWait(wanted)};
  } catch (const sdbus::Error&) {
    // The connection is closed; processing it will report that.
    return {POLLIN, MainQueue::Time::zero()};
  }
}

}  // namespace nimbrel
