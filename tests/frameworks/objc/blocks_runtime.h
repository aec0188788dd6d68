#pragma once

// Where the Objective-C headers look for the declarations of blocks.
#include <Block.h>
