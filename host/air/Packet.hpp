#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {

/// One record of a capture file, without the file format's own headers.
struct Packet {
  enum class Kind : std::uint8_t {
    /// Starts with the event code.
    /// Source: Bluetooth Core Specification, volume 4, part E, section 5.4.4.
    hciEvent,
    /// A link-layer PDU of the advertising physical channels, starting with its header.
    /// Source: Bluetooth Core Specification, volume 6, part B, section 2.3.
    advertisingPdu,
    /// Such a PDU with a wrong checksum: its bytes cannot be trusted.
    damagedPdu,
    /// Nothing that could hold an advertisement.
    other,
  };

  /// The recorded interface.
  enum class Origin : std::uint8_t { controller, usb, sniffer };

  /// Since 1970-01-01 00:00:00 UTC, within the bounds below.
  std::chrono::microseconds time{};
  Kind kind = Kind::other;
  Origin origin = Origin::controller;
  /// The recorder kept less than there was.
  bool isCut = false;
  /// Possibly cut short; valid until the next packet is read.
  std::span<const std::uint8_t> data;
  /// The signal strength of an advertising PDU in dBm; 127 if the receiver gave none.
  std::int8_t rssi = 127;
  /// The channel index of an advertising PDU; above the last one if it is unknown.
  std::uint8_t channel = kUnknownChannel;
  /// The receiver knows that the PDU, of extended advertising, answers a scan.
  bool isScanResponse = false;

  static constexpr std::uint8_t kLastSecondaryChannel = 36;
  static constexpr std::uint8_t kUnknownChannel = 0xFF;

  void holdHci(bool isEvent, std::span<const std::uint8_t> content) {
    kind = isEvent ? Kind::hciEvent : Kind::other;
    data = content;
  }

  /// Of `content` as it goes over the H4 transport: the type of the packet comes first.
  /// Source: Bluetooth Core Specification, volume 4, part A, section 2.
  void holdH4(std::span<const std::uint8_t> content) {
    ByteCursor cursor(content);
    const bool isEvent = cursor.byte() == 0x04;
    holdHci(isEvent, cursor.rest());
  }

  /// Of a record of Linux's Bluetooth monitor.
  void holdMonitored(std::uint16_t opcode, std::span<const std::uint8_t> content) {
    constexpr std::uint16_t kEvent = 3;
    holdHci(opcode == kEvent, content);
  }
};

/// The years 0 to 9999. A damaged time stamp is clamped to them, so that no sum overflows.
inline constexpr std::chrono::seconds kEarliestTime{-62'167'219'200};
inline constexpr std::chrono::seconds kLatestTime{253'402'300'799};

}  // namespace nimbrel
