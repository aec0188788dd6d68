#include "host/cli/Screen.hpp"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

namespace nimbrel {

namespace {

// Control sequences of the VT100 and xterm.
constexpr std::string_view kTake = "\033[?1049h\033[?25l\033[?7l";
constexpr std::string_view kGiveBack = "\033[?7h\033[?25h\033[?1049l";

/// The terminal whose screen is taken; negative where there is none.
std::atomic<int> taken = -1;

/// For signal handlers, which must not wait for a terminal that is held (Ctrl-S).
void sendAtOnce(std::string_view sequence) {
  pollfd terminal{taken, POLLOUT, 0};
  if (poll(&terminal, 1, 0) == 1) {
    [[maybe_unused]] const auto written = write(terminal.fd, sequence.data(), sequence.size());
  }
}

void handleSuspension(void (*handler)(int)) {
  struct sigaction action {};
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
  // Here the program stands still until it is continued.
  sigprocmask(SIG_BLOCK, &only, nullptr);
  handleSuspension(suspend);
  sendAtOnce(kTake);
  errno = error;
}

}  // namespace

Screen::Screen(Output& output) : output_(output) {
  // From its first moment on, the screen is given back by whatever signal comes.
  taken = output_.descriptor();
  handleSuspension(suspend);
  output_.buffer().append(kTake);
  output_.flush();
}

Screen::~Screen() {
  handleSuspension(SIG_DFL);
  taken = -1;
  try {
    output_.buffer().append(kGiveBack);
    output_.flush();
  } catch (const std::system_error&) {
    // There is no terminal any more.
  }
}

void Screen::giveBackAtOnce() { sendAtOnce(kGiveBack); }

}  // namespace nimbrel
