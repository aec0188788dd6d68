#pragma once

// In place of the runtime's header, whose inline functions reach into objects in a way that
// automatic reference counting forbids: the types that Foundation's headers name.

#include <objc/objc.h>

typedef struct objc_ivar* Ivar;
typedef struct objc_method* Method;
