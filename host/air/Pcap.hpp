#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "host/air/LinkTypes.hpp"
#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads pcap files of either byte order, with micro- or nanoseconds, and with the longer record
/// headers of the modified format.
/// Source: draft-ietf-opsawg-pcap, PCAP Capture File Format.
class Pcap {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// Throws InputError for an unusable header or a link type without Bluetooth LE. REQUIRES:
  /// recognises(content), and `content` outlives the reader.
  Pcap(std::span<const std::uint8_t> content, std::string fileName);

  /// Returns false at the end. Throws InputError at an unusable record; nothing can follow it.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset_; }

 private:
  struct Record {
    std::uint32_t seconds;
    std::uint32_t fraction;
    std::uint32_t originalLength;
    std::span<const std::uint8_t> content;
  };

  void checkLinkType();
  Record read();

  std::span<const std::uint8_t> bytes_;
  std::string name_;
  std::endian order_ = std::endian::little;
  bool hasNanoseconds_ = false;
  bool isModified_ = false;
  std::uint32_t linkType_ = 0;
  std::size_t offset_ = 0;
  LinkTypes linkTypes_;
};

}  // namespace nimbrel
