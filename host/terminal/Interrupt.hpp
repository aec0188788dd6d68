#pragma once

#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// While an Interrupt exists, Ctrl-C, a request to terminate and the loss of the terminal stop the
/// queue, so that the program ends in good order; a second one ends the program at once.
///
/// REQUIRES: no other Interrupt exists. The queue outlives it.
class Interrupt {
 public:
  explicit Interrupt(MainQueue& queue);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;
};

}  // namespace nimbrel
