#pragma once

#import <Foundation/Foundation.h>

#include <utility>

#if !__has_feature(objc_arc)
#include <Block.h>
#endif

namespace nimbrel::ios {

template <typename T>
inline constexpr bool kIsBlock = false;
template <typename Result, typename... Arguments>
inline constexpr bool kIsBlock<Result (^)(Arguments...)> = true;

/// Owns one reference to an Objective-C object or a block, or none. With automatic reference
/// counting the compiler counts for it, without it the class does: its users read the same either
/// way.
template <typename T>
class Retained {
 public:
  Retained() = default;
  /// Takes a reference of its own. A block moves to the heap with it.
  explicit Retained(T reference) : reference_(retain(reference)) {}
  Retained(const Retained& other) : reference_(retain(other.reference_)) {}
  Retained& operator=(Retained other) {
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~Retained() { release(reference_); }

  /// Takes over the reference that `alloc` and `init` have given to the caller.
  static Retained adopt(T reference) {
    Retained retained;
    retained.reference_ = reference;
    return retained;
  }

  /// Still owned by this; nil if there is none.
  [[nodiscard]] T get() const { return reference_; }
  /// For a return from a function: valid, once this is gone, until the autorelease pool drains.
  [[nodiscard]] T autoreleased() const { return autorelease(retain(reference_)); }

 private:
#if __has_feature(objc_arc)
  static T retain(T reference) { return reference; }
  static void release(T /*reference*/) {}
  static T autorelease(T reference) { return reference; }
#else
  static T retain(T reference) {
    if constexpr (kIsBlock<T>) {
      return Block_copy(reference);
    } else {
      return [reference retain];
    }
  }
  static void release(T reference) {
    if constexpr (kIsBlock<T>) {
      Block_release(reference);
    } else {
      [reference release];
    }
  }
  static T autorelease(T reference) { return [reference autorelease]; }
#endif

  T reference_ = nil;
};

}  // namespace nimbrel::ios
