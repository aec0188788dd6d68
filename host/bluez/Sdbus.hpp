#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <optional>
#include <string>

// sdbus-c++ comes in two series: 1 (Debian 12) and 2 (Debian 13). This file has what they call
// differently, under the names that the rest of the code uses.
#if __has_include(<sdbus-c++/VTableItems.h>)
#define NIMBREL_SDBUS_SERIES 2
#else
#define NIMBREL_SDBUS_SERIES 1
#endif

namespace nimbrel::sdbus_series {

#if NIMBREL_SDBUS_SERIES == 2

using sdbus::InterfaceName;
using sdbus::ServiceName;
using sdbus::SignalName;
using ErrorName = sdbus::Error::Name;

using ReplyError = std::optional<sdbus::Error>;

/// Handles one message that has arrived. Returns false if there was none.
inline bool processOne(sdbus::IConnection& connection) { return connection.processPendingEvent(); }

/// The longest that the connection may be left alone; absent for ever.
inline std::optional<std::chrono::microseconds> longestWait(
    const sdbus::IConnection::PollData& data) {
  const auto wait = data.getRelativeTimeout();
  return wait == std::chrono::microseconds::max() ? std::nullopt : std::optional(wait);
}

/// Calls `handler` with each message that `rule` selects, as long as the connection lasts.
inline void addMatch(sdbus::IConnection& connection, const std::string& rule, auto handler) {
  connection.addMatch(rule, handler);
}

/// Lists the objects of this program to others, as long as the connection lasts.
inline void addObjectManager(sdbus::IConnection& connection) {
  connection.addObjectManager(sdbus::ObjectPath("/"));
}

inline void addProperty(sdbus::IObject& object, const char* interface, const char* name,
                        auto getter) {
  object.addVTable(sdbus::registerProperty(name).withGetter(getter)).forInterface(interface);
}

inline void addMethod(sdbus::IObject& object, const char* interface, const char* name,
                      auto action) {
  object.addVTable(sdbus::registerMethod(name).implementedAs(action)).forInterface(interface);
}

/// Shows an object to others, with the properties and methods added before.
inline void finish(sdbus::IObject& /*object*/) {}

#else

using InterfaceName = std::string;
using ServiceName = std::string;
using SignalName = std::string;
using ErrorName = std::string;
using ReplyError = const sdbus::Error*;

inline bool processOne(sdbus::IConnection& connection) {
  return connection.processPendingRequest();
}

inline std::optional<std::chrono::microseconds> longestWait(
    const sdbus::IConnection::PollData& data) {
  return data.getRelativeTimeout();
}

inline void addMatch(sdbus::IConnection& connection, const std::string& rule, auto handler) {
  connection.addMatch(rule, handler, sdbus::floating_slot);
}

inline void addObjectManager(sdbus::IConnection& connection) {
  connection.addObjectManager("/", sdbus::floating_slot);
}

inline void addProperty(sdbus::IObject& object, const char* interface, const char* name,
                        auto getter) {
  object.registerProperty(name).onInterface(interface).withGetter(getter);
}

inline void addMethod(sdbus::IObject& object, const char* interface, const char* name,
                      auto action) {
  object.registerMethod(name).onInterface(interface).implementedAs(action);
}

inline void finish(sdbus::IObject& object) { object.finishRegistration(); }

#endif

/// Calls a method. `done` is given the error, or null, and the results.
template <typename... Results, typename... Arguments>
void call(sdbus::IProxy& object, const std::string& interface, const std::string& method, auto done,
          const Arguments&... arguments) {
  object.callMethodAsync(method)
      .onInterface(interface)
      .withArguments(arguments...)
      .uponReplyInvoke([done](ReplyError error, const Results&... results) {
        done(error ? &*error : nullptr, results...);
      });
}

}  // namespace nimbrel::sdbus_series
