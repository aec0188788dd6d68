#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/air/Advertisement.hpp"
#include "host/air/ByteCursor.hpp"
#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads the advertisements in packets of kind advertisingPdu.
///
/// An extended advertisement may take several PDUs, each with a pointer to the next one and the
/// identifier of its set: the first has the address, the others have the data. They are joined
/// under the time and strength of the last one. If the rest is not received, the data so far is
/// returned some tenths of a second later, under its own time.
/// Source: Bluetooth Core Specification, volume 6, part B, section 2.3.4.
class LinkLayer {
 public:
  /// Starts reading a packet. REQUIRES: its data stays valid while `next` is called.
  void begin(const Packet& packet);

  /// Call after the last packet: `next` then returns the advertisements that wait for more data.
  void end();

  /// The next advertisement; false if another packet is needed. Its data is valid until the next
  /// call of any operation.
  bool next(Advertisement& advertisement);

 private:
  struct Pointer {
    std::uint8_t channel;
    std::chrono::microseconds time;
  };
  /// The fields of an extended header that are used, and the data behind it.
  struct Extended {
    std::optional<DeviceAddress> advertiser;
    bool isDirected = false;
    std::optional<std::uint16_t> set;
    std::optional<Pointer> pointer;
    std::span<const std::uint8_t> data;
  };
  struct Unfinished {
    DeviceAddress address;
    std::optional<std::uint16_t> set;
    Pointer next;
    std::chrono::microseconds deadline;
    std::chrono::microseconds time;
    std::int8_t rssi;
    bool isScanResponse;
    std::vector<std::uint8_t> data;
  };

  static std::optional<Extended> parse(const Packet& packet, ByteCursor payload, AddressType type);
  void take(const Packet& packet, const Extended& pdu);
  void takePart(const Packet& packet, const Extended& pdu, Unfinished& unfinished);
  std::vector<Unfinished>::iterator pointingTo(const Packet& packet, const Extended& pdu);
  std::vector<Unfinished>::iterator giveUp(std::vector<Unfinished>::iterator unfinished);

  std::vector<Unfinished> unfinished_;  // the longest waiting first
  std::vector<Unfinished> broken_;      // to be returned as they are
  std::size_t returned_ = 0;            // how many of them were
  std::optional<Advertisement> current_;
  std::vector<std::uint8_t> joined_;
};

}  // namespace nimbrel
