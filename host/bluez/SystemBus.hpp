#pragma once

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/bluez/Sdbus.hpp"

namespace nimbrel {

/// A connection to the system's D-Bus message bus, served by the main queue. What arrives is handed
/// out in tasks of that queue, which may throw and may destroy the connection.
///
/// Messages that waited while the program was suspended are handed out spread over that time, as
/// they probably came: the bus does not tell when a message was sent.
class SystemBus {
 public:
  /// Throws sdbus::Error if there is no bus. `lost` runs once, as a task, when the bus goes away.
  /// The queue outlives the bus.
  SystemBus(MainQueue& queue, std::function<void()> lost);
  ~SystemBus();
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  /// Returns a proxy for the object at `path` of another program on the bus.
  std::unique_ptr<sdbus::IProxy> object(const std::string& program, const std::string& path);

  /// Makes an object of this program at `path`, which other programs find under "/". They see it
  /// once `sdbus_series::finish` is called. Destroy it before the bus.
  std::unique_ptr<sdbus::IObject> make(const std::string& path);

  /// Runs `take`, as a task, with the sender's object path and the arguments of each signal that
  /// `rule`, a match rule of D-Bus, selects. Signals with other arguments are left out.
  template <typename... Arguments>
  void onSignal(const std::string& rule, auto take) {
    sdbus_series::addMatch(*connection_, rule, [this, take = std::move(take)](auto&& message) {
      std::tuple<std::string, Arguments...> arguments;
      std::apply(
          [&](auto& object, auto&... rest) {
            object = message.getPath();
            (message >> ... >> rest);
          },
          arguments);
      post([take, arguments = std::move(arguments)] { std::apply(take, arguments); });
    });
  }

  /// Runs `task` after the messages before it are handed out, unless the connection has been
  /// destroyed by then. To be called while a message is processed.
  void post(std::function<void()> task);

 private:
  void process();
  void handOut();
  [[nodiscard]] MainQueue::Interest interest() const;

  MainQueue& queue_;
  std::function<void()> lost_;
  std::unique_ptr<sdbus::IConnection> connection_;
  int descriptor_;
  std::vector<std::function<void()>> arrived_;
  MainQueue::Time handedOutUntil_{};  // When the last of the tasks so far is due.
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace nimbrel
