#include "host/cli/Interrupt.hpp"

#include <atomic>
#include <csignal>

namespace nimbrel {

namespace {

std::atomic<MainQueue*> stoppedBySignal = nullptr;

void stopQueue(int /*signal*/) {
  if (MainQueue* queue = stoppedBySignal.load()) {
    queue->stop();
  }
}

void handle(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  // A second signal finds the default action.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

Interrupt::Interrupt(MainQueue& queue) {
  stoppedBySignal = &queue;
  handle(stopQueue);
}

Interrupt::~Interrupt() {
  handle(SIG_DFL);
  stoppedBySignal = nullptr;
}

}  // namespace nimbrel
