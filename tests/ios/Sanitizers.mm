// What the sanitizers are told of the Objective-C runtime here.

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

/// The runtime's and Foundation's frames have no frame pointers to follow.
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

/// The runtime and Foundation keep for good what they make of each class; the exchange of clocks is
/// the first to name one, and makes nothing itself.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:__objc_exec_class\nleak:GSObjCAddClassBehavior\nleak:exchangeClocks\n";
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
