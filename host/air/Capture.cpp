#include "host/air/Capture.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "host/air/InputError.hpp"
#include "host/air/LinkLayer.hpp"

namespace nimbrel {
namespace {

[[noreturn]] void refuse(std::span<const std::uint8_t> bytes, const std::string& name) {
  using namespace std::string_view_literals;
  // gzip, zip, xz, zstd.
  constexpr std::array compressed{"\x1F\x8B"sv, "PK\x03\x04"sv, "\xFD\x37zXZ"sv,
                                  "\x28\xB5\x2F\xFD"sv};
  for (const auto magic : compressed) {
    if (bytes.size() >= magic.size() &&
        std::ranges::equal(magic, bytes.first(magic.size()), {},
                           [](char c) { return static_cast<std::uint8_t>(c); })) {
      throw InputError(name, "is compressed; unpack it first");
    }
  }
  throw InputError(name,
                   "is not a capture of a known format; record or convert it to btsnoop, "
                   "PacketLogger, pcap or pcapng");
}

}  // namespace

std::unique_ptr<Capture> Capture::open(const std::string& path, WarningHandler warn) {
  MappedFile file(path);
  const auto bytes = file.bytes();
  return std::unique_ptr<Capture>(new Capture(std::move(file), bytes, path, std::move(warn)));
}

std::unique_ptr<Capture> Capture::read(std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn) {
  return std::unique_ptr<Capture>(new Capture(std::nullopt, bytes, name, std::move(warn)));
}

Capture::Capture(std::optional<MappedFile> mapped, std::span<const std::uint8_t> bytes,
                 const std::string& name, WarningHandler warningHandler)
    : file_(std::move(mapped)),
      size_(bytes.size()),
      source_(sourceOf(bytes, name)),
      warn_(std::move(warningHandler)) {}

Capture::Source Capture::sourceOf(std::span<const std::uint8_t> bytes, const std::string& name) {
  if (BtSnoop::recognises(bytes)) return BtSnoop(bytes, name);
  if (PcapCapture::recognises(bytes)) return PcapCapture(bytes, name);
  // Last, because it has no mark of its own.
  if (PacketLogger::recognises(bytes)) return PacketLogger(bytes, name);
  refuse(bytes, name);
}

const Advertisement* Capture::next() {
  while (!hciEvents_.next(advertisement_)) {
    if (!readPacket()) return nullptr;
    if (packet_.kind == Packet::Kind::hciEvent) {
      hciEvents_.begin(packet_.time, packet_.data);
    } else if (packet_.kind == Packet::Kind::advertisingPdu &&
               decodeAdvertisingPdu(packet_, advertisement_)) {
      break;
    }
  }
  return &advertisement_;
}

bool Capture::readPacket() {
  // Seldom enough to cost nothing.
  constexpr std::size_t releaseInterval = std::size_t{8} << 20U;
  if (ended_) return false;
  try {
    ended_ = !std::visit(
        [&](auto& reader) {
          const bool found = reader.next(packet_);
          position_ = reader.position();
          return found;
        },
        source_);
  } catch (const InputError& damage) {
    warn_(damage.what());
    ended_ = true;
  }
  if (ended_) return false;
  if (file_ && position_ - released_ >= releaseInterval) {
    // The packet just read lies before the position, but stays readable.
    file_->release(position_);
    released_ = position_;
  }
  if (!first_) first_ = packet_.time;
  last_ = packet_.time;
  return true;
}

double Capture::progress() const {
  return ended_ ? 1.0 : static_cast<double>(position_) / static_cast<double>(size_);
}

}  // namespace nimbrel
