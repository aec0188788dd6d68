#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads Apple's PacketLogger files (.pklg). They have no header: a record is its length (without
/// that of the length itself), seconds and microseconds since 1970, all of 32 bits, and one byte of
/// type before the packet. Older recorders wrote big-endian numbers, newer ones little-endian.
class PacketLogger {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// REQUIRES: recognises(content), and `content` outlives the reader.
  PacketLogger(std::span<const std::uint8_t> content, std::string fileName);

  /// Returns false at the end. Throws InputError at an unusable record; nothing can follow it.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset_; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::string name_;
  std::endian order_;
  std::size_t offset_ = 0;
};

}  // namespace nimbrel
