// What the sanitizers are told of the Objective-C runtime here.

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

/// Foundation sets itself up when a class is first named, and keeps for good what it makes then.
class FoundationSetup : public testing::Environment {
 public:
  void SetUp() override { setUpFoundation(); }

 private:
  __attribute__((noinline)) static void setUpFoundation() {
    @autoreleasepool {
      [NSDate date];
    }
  }
};

const testing::Environment* const kEnvironment =
    testing::AddGlobalTestEnvironment(new FoundationSetup);

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

/// The runtime's and Foundation's frames have no frame pointers to follow.
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

/// The runtime, too, keeps what it makes of each class.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:__objc_exec_class\nleak:GSObjCAddClassBehavior\nleak:setUpFoundation\n";
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
