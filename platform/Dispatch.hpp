#pragma once

#include <functional>

namespace nimbrel {

/// A task for the main queue. It owns what it captures.
using DispatchTask = std::function<void()>;

}  // namespace nimbrel
