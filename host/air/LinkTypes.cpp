#include "host/air/LinkTypes.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include "host/air/ByteCursor.hpp"
#include "host/air/LinkLayerHeaders.hpp"

namespace nimbrel {
namespace {

enum LinkType : std::uint32_t {
  hciH4 = 187,
  usbLinux = 189,
  perPacketInformation = 192,
  hciH4WithDirection = 201,
  usbLinuxMapped = 220,
  usbWindows = 249,
  linkLayer = 251,
  monitor = 254,
  linkLayerWithRadioHeader = 256,
  nordicSniffer = 272,
};

constexpr std::array kReadable{
    hciH4,     usbLinux, hciH4WithDirection,       usbLinuxMapped, usbWindows,
    linkLayer, monitor,  linkLayerWithRadioHeader, nordicSniffer};

struct Name {
  std::uint32_t first;
  std::uint32_t last;
  std::string_view words;
};

constexpr Name kOthers[] = {
    {0, 0, "a loopback interface"},
    {1, 1, "Ethernet"},
    {9, 9, "PPP"},
    {101, 101, "an IP interface"},
    {105, 105, "Wi-Fi"},
    {108, 108, "a loopback interface"},
    {113, 113, "Linux's interface \"any\""},
    {119, 119, "Wi-Fi"},
    {127, 127, "Wi-Fi"},
    {147, 162, "a private format"},
    {163, 163, "Wi-Fi"},
    {186, 186, "FreeBSD's USB"},
    {192, 192, "a sniffer's header (PPI) with nothing known behind it"},
    {195, 195, "IEEE 802.15.4 (Zigbee, Thread)"},
    {215, 215, "IEEE 802.15.4 (Zigbee, Thread)"},
    {227, 227, "a CAN bus"},
    {228, 229, "an IP interface"},
    {230, 230, "IEEE 802.15.4 (Zigbee, Thread)"},
    {239, 239, "Linux's packet filter"},
    {245, 245, "NFC"},
    {253, 253, "Linux's netlink"},
    {255, 255, "Bluetooth BR/EDR"},
    {266, 266, "macOS's USB"},
    {276, 276, "Linux's interface \"any\""},
    {278, 278, "a USB analyser"},
    {283, 283, "IEEE 802.15.4 (Zigbee, Thread)"},
    {288, 288, "a USB analyser"},
    {293, 295, "a USB analyser"},
};

std::string inWords(std::uint32_t linkType) {
  const auto number = "link type " + std::to_string(linkType);
  const auto* const found = std::ranges::find_if(
      kOthers, [&](const Name& name) { return name.first <= linkType && linkType <= name.last; });
  return found == std::end(kOthers) ? number : std::string(found->words) + " (" + number + ")";
}

/// The header of PPI: version, flags, its length and the link type of what follows.
/// Source: Per-Packet Information (PPI) header, version 1.0.
struct PerPacketInformation {
  std::uint32_t linkType;
  std::span<const std::uint8_t> content;

  explicit PerPacketInformation(std::span<const std::uint8_t> record) {
    constexpr std::size_t kFixedLength = 8;
    ByteCursor cursor(record);
    cursor.take(2);
    const std::size_t length = cursor.integer<std::uint16_t>();
    linkType = cursor.integer<std::uint32_t>();
    cursor.take(std::max(length, kFixedLength) - kFixedLength);
    content = cursor.rest();
  }
};

}  // namespace

bool LinkTypes::areReadable(std::uint32_t linkType, std::span<const std::uint8_t> content) {
  const auto inner =
      linkType == perPacketInformation ? PerPacketInformation(content).linkType : linkType;
  return std::ranges::count(kReadable, inner) > 0;
}

std::string LinkTypes::refusal(std::uint32_t linkType, std::span<const std::uint8_t> content) {
  auto inner = linkType;
  if (linkType == perPacketInformation && !content.empty()) {
    inner = PerPacketInformation(content).linkType;
  }
  return "is a recording of " + inWords(inner) +
         ", which holds no Bluetooth LE that can be read; record a Bluetooth adapter, a Bluetooth "
         "controller's USB or a Bluetooth LE sniffer";
}

void LinkTypes::hold(std::uint32_t linkType, std::span<const std::uint8_t> content,
                     Packet& packet) {
  ByteCursor cursor(content);
  switch (linkType) {
    case hciH4WithDirection:
      cursor.take(4);
      [[fallthrough]];
    case hciH4:
      packet.origin = Packet::Origin::controller;
      packet.holdH4(cursor.rest());
      break;
    case monitor: {
      packet.origin = Packet::Origin::controller;
      cursor.take(2);  // The number of the adapter.
      const auto opcode = cursor.integer<std::uint16_t>(std::endian::big);
      packet.holdMonitored(opcode, cursor.rest());
      break;
    }
    case usbLinux:
      usb_.holdFromLinux(content, 48, packet);
      break;
    case usbLinuxMapped:
      usb_.holdFromLinux(content, 64, packet);
      break;
    case usbWindows:
      usb_.holdFromWindows(content, packet);
      break;
    case linkLayer:
      holdLinkLayer(content, packet);
      break;
    case linkLayerWithRadioHeader:
      holdWithRadioHeader(content, packet);
      break;
    case nordicSniffer:
      holdFromNordicSniffer(content, packet);
      break;
    case perPacketInformation: {
      const PerPacketInformation information(content);
      if (information.linkType == perPacketInformation) {
        packet.kind = Packet::Kind::other;
      } else {
        hold(information.linkType, information.content, packet);
      }
      break;
    }
    default:
      packet.kind = Packet::Kind::other;
  }
}

}  // namespace nimbrel
