#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "host/air/Packet.hpp"

namespace nimbrel {

/// Extracts the HCI events from recorded USB transfers. A Bluetooth controller sends them on an
/// interrupt endpoint, without the packet type of H4, and in several transfers if one is too
/// short.
/// Source: Bluetooth Core Specification, volume 4, part B, section 2.1; tcpdump.org,
/// LINKTYPE_USB_LINUX, LINKTYPE_USB_LINUX_MMAPPED and LINKTYPE_USBPCAP.
class UsbTransfers {
 public:
  /// Of a record of Linux with a header of `headerLength` bytes, 48 or 64. An event that the record
  /// completes is valid until the next call.
  void holdFromLinux(std::span<const std::uint8_t> content, std::size_t headerLength,
                     Packet& packet);

  /// Of a record of Windows, in the same way.
  void holdFromWindows(std::span<const std::uint8_t> content, Packet& packet);

 private:
  /// The number of the bus, of the device and of the endpoint, as the record has them.
  using Endpoint = std::array<std::uint8_t, 5>;

  void holdReceived(const Endpoint& endpoint, std::span<const std::uint8_t> content,
                    Packet& packet);

  std::map<Endpoint, std::vector<std::uint8_t>> unfinished_;
  std::vector<std::uint8_t> event_;
};

}  // namespace nimbrel
