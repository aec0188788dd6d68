#include "host/air/GzipStream.hpp"

#include <algorithm>
#include <new>

namespace nimbrel {

bool GzipStream::recognises(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B;
}

GzipStream::GzipStream(std::span<const std::uint8_t> packed) : rest_(packed) {
  constexpr int kGzipAlone = 16;
  if (::inflateInit2(&stream_, kGzipAlone + MAX_WBITS) != Z_OK) {
    throw std::bad_alloc();
  }
}

GzipStream::~GzipStream() { ::inflateEnd(&stream_); }

std::vector<std::uint8_t> GzipStream::read(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  stream_.next_out = bytes.data();
  stream_.avail_out = static_cast<uInt>(count);
  while (stream_.avail_out > 0 && !isOver_) {
    refill();
    switch (::inflate(&stream_, Z_NO_FLUSH)) {
      case Z_OK:
        break;
      case Z_STREAM_END:
        endMember();
        break;
      case Z_BUF_ERROR:
        damage_ = "its end is missing";
        isOver_ = true;
        break;
      default:
        damage_ = "a part of it cannot be unpacked";
        isOver_ = true;
    }
  }
  bytes.resize(count - stream_.avail_out);
  return bytes;
}

void GzipStream::refill() {
  constexpr std::size_t kPiece = std::size_t{1} << 20U;
  if (stream_.avail_in > 0) {
    return;
  }
  const auto piece = rest_.first(std::min(rest_.size(), kPiece));
  rest_ = rest_.subspan(piece.size());
  // zlib does not change what it reads.
  stream_.next_in = const_cast<Bytef*>(piece.data());
  stream_.avail_in = static_cast<uInt>(piece.size());
}

void GzipStream::endMember() {
  // Some writers fill up the last block of a tape with zeros.
  const std::span following(stream_.next_in, stream_.avail_in + rest_.size());
  isOver_ = !recognises(following) || ::inflateReset(&stream_) != Z_OK;
}

}  // namespace nimbrel
