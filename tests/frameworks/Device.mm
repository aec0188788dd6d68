#include "tests/frameworks/Device.h"

#import <dispatch/dispatch.h>
#import <objc/runtime.h>

#include <cstdlib>

#include "ios/nimbrel/Sources/nimbrel/Retained.h"

namespace {

nimbrel::fakes::Device* currentDevice = nullptr;

void exchangeClocks() {
  method_exchangeImplementations(class_getClassMethod([NSDate class], @selector(date)),
                                 class_getClassMethod([NSDate class], @selector(deviceDate)));
}

}  // namespace

@interface NSDate (DeviceClock)
+ (instancetype)deviceDate;
@end

@implementation NSDate (DeviceClock)
+ (instancetype)deviceDate {
  return [self dateWithTimeIntervalSince1970:currentDevice->platform.timeIntervalSince1970()];
}
@end

@implementation NSProcessInfo (OperatingSystemVersion)
- (NSOperatingSystemVersion)operatingSystemVersion {
  const auto version = currentDevice->platform.systemVersion();
  return {version.majorVersion, version.minorVersion, version.patchVersion};
}
@end

dispatch_queue_t dispatch_get_main_queue() {
  static NSObject* const queue = [[NSObject alloc] init];
  return queue;
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  if (queue != dispatch_get_main_queue()) {
    std::abort();
  }
  currentDevice->platform.dispatchMainAsync(
      [held = nimbrel::ios::Retained<dispatch_block_t>(block)] {
        @autoreleasepool {
          held.get()();
        }
      });
}

namespace nimbrel::fakes {

Device::Device(Platform& phone) : platform(phone), console_(stdout) {
  currentDevice = this;
  exchangeClocks();
  stdout =
      fopencookie(this, "w", {.read = nullptr, .write = write, .seek = nullptr, .close = nullptr});
  std::setvbuf(stdout, nullptr, _IONBF, 0);
}

Device::~Device() {
  std::fclose(stdout);
  stdout = console_;
  exchangeClocks();
  currentDevice = nullptr;
}

Device& Device::current() { return *currentDevice; }

/// Takes what is written to the standard output. It goes on to the console, for a failing test
/// speaks there too.
ssize_t Device::write(void* device, const char* bytes, std::size_t size) {
  auto& self = *static_cast<Device*>(device);
  std::fwrite(bytes, 1, size, self.console_);
  for (const char byte : std::string_view(bytes, size)) {
    if (byte == '\n') {
      self.platform.print({self.line_});
      self.line_.clear();
    } else {
      self.line_.push_back(byte);
    }
  }
  return static_cast<ssize_t>(size);
}

void record(id receiver, SEL message) {
  Device::current().messages.push_back(std::string(class_getName([receiver class])) + " " +
                                       sel_getName(message));
}

}  // namespace nimbrel::fakes
