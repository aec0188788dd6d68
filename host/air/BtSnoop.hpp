#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads btsnoop files: Android's HCI log and the recordings of Linux's Bluetooth monitor.
/// Source: RFC 1761, with the Bluetooth datalinks and the epoch of Symbian's variant.
class BtSnoop {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// `content` outlives it. Throws InputError for a header that cannot be used.
  BtSnoop(std::span<const std::uint8_t> content, std::string fileName);

  /// False at the end. Throws InputError at a record that cannot be used; nothing follows it.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset; }

 private:
  std::span<const std::uint8_t> bytes;
  std::string name;
  std::uint32_t datalink = 0;
  std::size_t offset = 0;
};

}  // namespace nimbrel
