#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "host/air/Packet.hpp"
#include "host/air/UsbTransfers.hpp"

namespace nimbrel {

/// The link types of pcap and pcapng files: the number that says what a packet begins with.
/// Source: tcpdump.org, link-layer header types.
class LinkTypes {
 public:
  /// Whether a packet of this type may hold Bluetooth LE. `content` tells where a header of its own
  /// names the type of what follows.
  static bool areReadable(std::uint32_t linkType, std::span<const std::uint8_t> content);

  /// "is a recording of ...; what to do", for a file whose packets are not readable.
  static std::string refusal(std::uint32_t linkType, std::span<const std::uint8_t> content);

  /// Holds a packet; of a type that is not readable, as `other`. Its data is valid until the next
  /// call, or while `content` is.
  ///
  /// REQUIRES: `packet` has its time and says whether it is cut.
  void hold(std::uint32_t linkType, std::span<const std::uint8_t> content, Packet& packet);

 private:
  UsbTransfers usb_;
};

}  // namespace nimbrel
