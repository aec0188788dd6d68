#pragma once

#include_next <Foundation/Foundation.h>

// What the phone's Foundation has beside the one at hand.

typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo (OperatingSystemVersion)
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
@end
