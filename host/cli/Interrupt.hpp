#pragma once

#include "host/phone/MainQueue.hpp"

namespace nimbrel {

/// While it lives, Ctrl-C and a request to terminate stop the queue, so that the run ends in good
/// order; a second one ends the program at once. One at a time.
class Interrupt {
 public:
  explicit Interrupt(MainQueue& queue);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;
};

}  // namespace nimbrel
