#include "host/terminal/Screen.hpp"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

namespace nimbrel {

namespace {

// Control sequences of the VT100 and xterm.
constexpr std::string_view kTake = "\033[?1049h\033[?25l\033[?7l";
constexpr std::string_view kGiveBack = "\033[?7h\033[?25h\033[?1049l";

/// The terminal whose screen is taken; negative if there is none.
std::atomic<int> taken = -1;

/// Writes in a signal handler, which must not wait for a terminal whose output is paused (Ctrl-S).
void sendAtOnce(std::string_view sequence) {
  pollfd terminal{taken, POLLOUT, 0};
  if (poll(&terminal, 1, 0) == 1) {
    [[maybe_unused]] const auto written = write(terminal.fd, sequence.data(), sequence.size());
  }
}

void handleSuspension(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(SIGTSTP, &action, nullptr);
}

void suspend(int signal) {
  const int error = errno;
  sendAtOnce(kGiveBack);
  handleSuspension(SIG_DFL);
  raise(signal);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  // The program is stopped here until it is continued.
  sigprocmask(SIG_BLOCK, &only, nullptr);
  handleSuspension(suspend);
  sendAtOnce(kTake);
  errno = error;
}

/// The signals that end the program at once. Interrupt has those that end it in good order.
constexpr int kFatalSignals[] = {SIGQUIT, SIGABRT, SIGALRM, SIGBUS,    SIGFPE, SIGILL,
                                 SIGSEGV, SIGUSR1, SIGUSR2, SIGVTALRM, SIGXCPU};

void die(int signal) {
  sendAtOnce(kGiveBack);
  raise(signal);
}

void handleFatalSignals(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // What `die` raises takes its usual course.
  for (const int signal : kFatalSignals) {
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

Screen::Screen(Output& output) : output_(output) {
  assert(taken < 0);
  // The handlers come first, so that a signal at any time restores the screen.
  taken = output_.descriptor();
  handleSuspension(suspend);
  handleFatalSignals(die);
  output_.buffer().append(kTake);
  output_.flush();
}

Screen::~Screen() {
  handleSuspension(SIG_DFL);
  handleFatalSignals(SIG_DFL);
  taken = -1;
  try {
    output_.buffer().append(kGiveBack);
    output_.flush();
  } catch (const std::system_error&) {
    // The terminal is gone.
  }
}

void Screen::giveBackAtOnce() { sendAtOnce(kGiveBack); }

}  // namespace nimbrel
