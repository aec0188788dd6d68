#include "host/scenario/LineReader.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace nimbrel {

std::optional<std::string_view> LineReader::next() {
  const std::string_view text = text_;
  const std::size_t newline = text.find('\n', searched_);
  const bool isWhole = newline != std::string_view::npos;
  const std::size_t end = isWhole ? newline : text.size();
  searched_ = end;
  if (!isWhole && (!isAtEnd_ || begin_ == end)) {
    return std::nullopt;
  }
  const std::string_view line = text.substr(begin_, end - begin_);
  begin_ = searched_ = isWhole ? end + 1 : end;
  return line;
}

void LineReader::read() {
  constexpr std::size_t kPiece = std::size_t{1} << 16U;
  text_.erase(0, begin_);
  searched_ -= begin_;
  begin_ = 0;
  const std::size_t size = text_.size();
  text_.resize(size + kPiece);
  ssize_t count = -1;
  while ((count = ::read(descriptor_, text_.data() + size, kPiece)) < 0 &&
         (errno == EINTR || errno == EAGAIN)) {
    pollfd ready{descriptor_, POLLIN, 0};
    poll(&ready, 1, -1);
  }
  text_.resize(size + static_cast<std::size_t>(count < 0 ? 0 : count));
  // A terminal that is gone fails with EIO: nobody types any more.
  if (count < 0 && errno != EIO) {
    throw std::system_error(errno, std::generic_category(), "the input cannot be read");
  }
  isAtEnd_ = count <= 0;
}

}  // namespace nimbrel
