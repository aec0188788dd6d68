#include "host/base/Output.hpp"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace nimbrel {

void Output::flush() {
  if (descriptor_ == kInMemory) {
    return;
  }
  std::string_view rest = buffer_;
  if (!rest.empty() && beforeWriting_) {
    beforeWriting_();
  }
  while (!rest.empty()) {
    const ssize_t written = write(descriptor_, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd ready{descriptor_, POLLOUT, 0};
      poll(&ready, 1, -1);
    } else if (errno != EINTR) {
      const int error = errno;
      buffer_.clear();
      throw std::system_error(error, std::generic_category(), "the output cannot be written");
    }
  }
  buffer_.clear();
}

bool Output::isTerminal() const { return isatty(descriptor_) == 1; }

TerminalSize Output::terminalSize() const {
  winsize size{};
  if (ioctl(descriptor_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {80, 24};
  }
  return {size.ws_col, size.ws_row};
}

}  // namespace nimbrel
