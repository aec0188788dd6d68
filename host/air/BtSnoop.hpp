#pragma once

#include <array>
#include <chrono>
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
  static constexpr std::array<std::uint8_t, 8> kMagic{'b', 't', 's', 'n', 'o', 'o', 'p', 0};
  /// 1970-01-01 in microseconds since the year 0, as all recorders count them; 12 days more than in
  /// the calendar.
  static constexpr std::chrono::microseconds kEpoch{0x00DCDDB30F2F8000};

  enum Datalink : std::uint32_t { h1 = 1001, h4 = 1002, bcsp = 1003, h5 = 1004, monitor = 2001 };

  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// Throws InputError for an unusable header. REQUIRES: `content` outlives the reader.
  BtSnoop(std::span<const std::uint8_t> content, std::string fileName);

  /// Returns false at the end. Throws InputError at an unusable record; nothing can follow it.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset_; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::string name_;
  std::uint32_t datalink_ = 0;
  std::size_t offset_ = 0;
};

}  // namespace nimbrel
