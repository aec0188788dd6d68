#include "host/air/SystemBus.hpp"

#include <utility>

namespace nimbrel {

SystemBus::SystemBus(MainQueue& mainQueue, std::function<void()> whenLost)
    : queue(mainQueue),
      lost(std::move(whenLost)),
      connection(sdbus::createSystemBusConnection()),
      descriptor(connection->getEventLoopPollData().fd) {
  queue.watch(
      descriptor, [this] { process(); }, [this] { return interest(); });
}

SystemBus::~SystemBus() { queue.unwatch(descriptor); }

std::unique_ptr<sdbus::IProxy> SystemBus::object(const std::string& program,
                                                 const std::string& path) {
  return sdbus::createProxy(*connection, program, path);
}

void SystemBus::post(std::function<void()> task) {
  queue.async([isAlive = std::weak_ptr(life), task = std::move(task)] {
    if (!isAlive.expired()) {
      task();
    }
  });
}

void SystemBus::process() {
  try {
    while (connection->processPendingRequest()) {
    }
  } catch (const sdbus::Error&) {
    queue.unwatch(descriptor);
    post(lost);
  }
}

MainQueue::Interest SystemBus::interest() const {
  try {
    const auto wanted = connection->getEventLoopPollData();
    return {wanted.events, wanted.getRelativeTimeout()};
  } catch (const sdbus::Error&) {
    // The connection is closed, which processing it will tell.
    return {POLLIN, MainQueue::Time::zero()};
  }
}

}  // namespace nimbrel
