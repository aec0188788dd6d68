#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "host/phone/MainQueue.hpp"

namespace nimbrel {

/// A connection to the system's D-Bus message bus, served by the main queue. Whatever arrives is
/// handed out in tasks of that queue, which may throw and may end the connection.
class SystemBus {
 public:
  /// Throws sdbus::Error where there is no bus. `lost` runs once, as a task, when the bus goes
  /// away. The queue outlives the bus.
  SystemBus(MainQueue& queue, std::function<void()> lost);
  ~SystemBus();
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  /// An object of another program on the bus.
  std::unique_ptr<sdbus::IProxy> object(const std::string& program, const std::string& path);

  /// Runs `take`, as a task, with the sender's object and the arguments of each signal that `rule`
  /// selects, a match rule of D-Bus. Signals of other arguments are left out.
  template <typename... Arguments>
  void onSignal(const std::string& rule, auto take) {
    connection_->addMatch(
        rule,
        [this, take = std::move(take)](sdbus::Message& message) {
          std::tuple<std::string, Arguments...> arguments;
          std::apply(
              [&](auto& object, auto&... rest) {
                object = message.getPath();
                (message >> ... >> rest);
              },
              arguments);
          post([take, arguments = std::move(arguments)] { std::apply(take, arguments); });
        },
        sdbus::floating_slot);
  }

  /// Has `task` run in the main queue's turn, unless the connection has ended by then.
  void post(std::function<void()> task);

 private:
  void process();
  [[nodiscard]] MainQueue::Interest interest() const;

  MainQueue& queue_;
  std::function<void()> lost_;
  std::unique_ptr<sdbus::IConnection> connection_;
  int descriptor_;
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace nimbrel
