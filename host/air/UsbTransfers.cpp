#include "host/air/UsbTransfers.hpp"

#include <utility>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {
namespace {

constexpr std::uint8_t kInterruptTransfer = 1;
constexpr std::uint8_t kIntoHost = 0x80;

/// What an event's code and length say that it takes, with themselves.
std::size_t lengthOf(std::span<const std::uint8_t> event) {
  constexpr std::size_t kHeaderLength = 2;
  return event.size() < kHeaderLength ? kHeaderLength : kHeaderLength + event[1];
}

}  // namespace

void UsbTransfers::holdFromLinux(std::span<const std::uint8_t> content, std::size_t headerLength,
                                 Packet& packet) {
  constexpr std::uint8_t kCompleted = 'C';
  packet.origin = Packet::Origin::usb;
  packet.kind = Packet::Kind::other;
  ByteCursor cursor(content);
  ByteCursor header(cursor.take(headerLength));
  header.take(8);  // The number of the transfer.
  const auto event = header.byte();
  const auto type = header.byte();
  const auto endpoint = header.byte();
  const auto device = header.byte();
  const auto bus = header.reversed<2>();
  if (event == kCompleted && type == kInterruptTransfer && (endpoint & kIntoHost) != 0) {
    holdReceived({bus[0], bus[1], device, 0, endpoint}, cursor.rest(), packet);
  }
}

void UsbTransfers::holdFromWindows(std::span<const std::uint8_t> content, Packet& packet) {
  constexpr std::uint8_t kCompleted = 0x01;
  packet.origin = Packet::Origin::usb;
  packet.kind = Packet::Kind::other;
  ByteCursor cursor(content);
  ByteCursor header(cursor.take(ByteCursor(content).integer<std::uint16_t>()));
  header.take(16);  // The header's length, the transfer's number, its status and function.
  const auto information = header.byte();
  const auto bus = header.reversed<2>();
  const auto device = header.reversed<2>();
  const auto endpoint = header.byte();
  const auto type = header.byte();
  if ((information & kCompleted) != 0 && type == kInterruptTransfer &&
      (endpoint & kIntoHost) != 0) {
    holdReceived({bus[0], bus[1], device[0], device[1], endpoint}, cursor.rest(), packet);
  }
}

void UsbTransfers::holdReceived(const Endpoint& endpoint, std::span<const std::uint8_t> content,
                                Packet& packet) {
  // Endpoints take packets of 16, 32 or 64 bytes. A shorter one ends what is sent, so that the
  // start of the next event is found where a recording begins in the middle of one.
  constexpr std::size_t kPacketLength = 16;
  if (content.empty()) {
    return;
  }
  auto& unfinished = unfinished_[endpoint];
  if (unfinished.empty() && content.size() >= lengthOf(content)) {
    packet.holdHci(true, content);
    return;
  }
  if (packet.isCut) {
    // What follows would end up in the gap. A start says something of its own.
    if (unfinished.empty()) {
      packet.holdHci(true, content);
    }
    unfinished.clear();
    return;
  }
  unfinished.insert(unfinished.end(), content.begin(), content.end());
  const bool isWhole = unfinished.size() >= lengthOf(unfinished);
  if (isWhole) {
    event_ = std::exchange(unfinished, {});
    packet.holdHci(true, event_);
  } else if (content.size() % kPacketLength != 0) {
    unfinished.clear();
  }
}

}  // namespace nimbrel
