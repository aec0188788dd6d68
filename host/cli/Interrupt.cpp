#include "host/cli/Interrupt.hpp"

#include <atomic>
#include <csignal>

#include "host/cli/Screen.hpp"

namespace nimbrel {

namespace {

std::atomic<MainQueue*> stoppedBySignal = nullptr;

void handle(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  for (const int signal : {SIGINT, SIGTERM}) {
    sigaction(signal, &action, nullptr);
  }
}

void endAtOnce(int signal) {
  Screen::giveBackAtOnce();
  handle(SIG_DFL);
  raise(signal);
}

void stopQueue(int /*signal*/) {
  handle(endAtOnce);
  if (MainQueue* queue = stoppedBySignal.load()) {
    queue->stop();
  }
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
