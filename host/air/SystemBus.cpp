#include "host/air/SystemBus.hpp"

#include <utility>

namespace nimbrel {

SystemBus::SystemBus(MainQueue& mainQueue, std::function<void()> whenLost)
    : queue_(mainQueue),
      lost_(std::move(whenLost)),
      connection_(sdbus::createSystemBusConnection()),
      descriptor_(connection_->getEventLoopPollData().fd) {
  queue_.watch(
      descriptor_, [this] { process(); }, [this] { return interest(); });
}

SystemBus::~SystemBus() { queue_.unwatch(descriptor_); }

std::unique_ptr<sdbus::IProxy> SystemBus::object(const std::string& program,
                                                 const std::string& path) {
  return sdbus::createProxy(*connection_, program, path);
}

void SystemBus::post(std::function<void()> task) {
  queue_.async([isAlive = std::weak_ptr(life_), task = std::move(task)] {
    if (!isAlive.expired()) {
      task();
    }
  });
}

void SystemBus::process() {
  try {
    while (connection_->processPendingRequest()) {
    }
  } catch (const sdbus::Error&) {
    queue_.unwatch(descriptor_);
    post(lost_);
  }
}

MainQueue::Interest SystemBus::interest() const {
  try {
    const auto wanted = connection_->getEventLoopPollData();
    return {wanted.events, wanted.getRelativeTimeout()};
  } catch (const sdbus::Error&) {
    // The connection is closed, which processing it will tell.
    return {POLLIN, MainQueue::Time::zero()};
  }
}

}  // namespace nimbrel
