#pragma once

#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/air/ByteCursor.hpp"
#include "host/air/LinkTypes.hpp"
#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads pcapng files: sections of either byte order, interfaces with a link type each, packets in
/// enhanced, simple and the older packet blocks. Other blocks are skipped.
/// Source: draft-ietf-opsawg-pcapng, PCAP Next Generation Capture File Format.
class PcapNg {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// Throws InputError for an unusable header, or if no packet can hold Bluetooth LE. REQUIRES:
  /// recognises(content), and `content` outlives the reader.
  PcapNg(std::span<const std::uint8_t> content, std::string fileName);

  /// Returns false at the end. Throws InputError at an unusable block; nothing can follow it. A
  /// simple packet has no time: it is given that of the packet before.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset_; }

 private:
  struct Interface {
    std::uint32_t linkType = 0;
    std::uint32_t longestPacket = 0;  // 0 for any length
    std::uint8_t resolution = 6;
    std::int64_t offsetSeconds = 0;
  };
  struct Captured {
    std::uint32_t linkType = 0;
    bool isCut = false;
    std::chrono::microseconds time{};
    std::span<const std::uint8_t> content;
  };

  void checkLinkTypes();
  bool read(Captured& captured);
  ByteCursor readBlock(std::uint32_t& type);
  [[nodiscard]] std::endian orderOf(ByteCursor section) const;
  void beginSection(ByteCursor body);
  void addInterface(ByteCursor body);
  void readPacket(std::uint32_t blockType, ByteCursor body, Captured& captured);
  [[nodiscard]] const Interface& interfaceOf(std::uint32_t number) const;

  std::span<const std::uint8_t> bytes_;
  std::string name_;
  std::endian order_ = std::endian::little;
  std::vector<Interface> interfaces_;
  std::size_t block_ = 0;  // where the current one starts
  std::size_t offset_ = 0;
  Captured captured_;
  LinkTypes linkTypes_;
};

}  // namespace nimbrel
