#include "host/terminal/Interrupt.hpp"

#include <atomic>
#include <cassert>
#include <csignal>

#include "host/terminal/Screen.hpp"

namespace nimbrel {

namespace {

std::atomic<MainQueue*> stoppedBySignal = nullptr;

void handle(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
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
  assert(stoppedBySignal == nullptr);
  stoppedBySignal = &queue;
  handle(stopQueue);
}

Interrupt::~Interrupt() {
  handle(SIG_DFL);
  stoppedBySignal = nullptr;
}

}  // namespace nimbrel
