#pragma once

#import <Foundation/Foundation.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/Platform.hpp"

namespace nimbrel::fakes {

/// The device under the fake frameworks, one at a time: managers, clock, main queue, system version
/// and standard output are those of `platform`, which outlives it.
class Device {
 public:
  explicit Device(Platform& phone);
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device();

  /// The one that there is.
  static Device& current();

  Platform& platform;
  /// The messages that the frameworks were sent, as "Class message".
  std::vector<std::string> messages;
  /// The managers that have not been deallocated.
  int liveManagers = 0;

 private:
  static ssize_t write(void* device, const char* bytes, std::size_t size);

  std::FILE* console_;
  std::string line_;
};

/// Notes a message that an object or a class of a framework was sent.
void record(id receiver, SEL message);

}  // namespace nimbrel::fakes
