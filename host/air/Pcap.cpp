#include "host/air/Pcap.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "host/air/ByteCursor.hpp"
#include "host/air/RecordDamage.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

constexpr std::uint32_t kMicroseconds = 0xA1B2C3D4;
constexpr std::uint32_t kNanoseconds = 0xA1B23C4D;
constexpr std::uint32_t kModified = 0xA1B2CD34;
constexpr std::size_t kHeaderSize = 24;

std::uint32_t magicOf(std::span<const std::uint8_t> bytes, std::endian order) {
  return ByteCursor(bytes).integer<std::uint32_t>(order);
}

bool isMagic(std::uint32_t magic) {
  return magic == kMicroseconds || magic == kNanoseconds || magic == kModified;
}

}  // namespace

bool Pcap::recognises(std::span<const std::uint8_t> bytes) {
  return isMagic(magicOf(bytes, std::endian::little)) || isMagic(magicOf(bytes, std::endian::big));
}

Pcap::Pcap(std::span<const std::uint8_t> content, std::string fileName)
    : bytes_(content), name_(std::move(fileName)) {
  constexpr std::uint16_t kVersion = 2;
  // The bits above them tell the length of a checksum.
  constexpr std::uint32_t kLinkTypeBits = 0x03FFFFFF;
  order_ = isMagic(magicOf(bytes_, std::endian::little)) ? std::endian::little : std::endian::big;
  ByteCursor header(bytes_.first(std::min(bytes_.size(), kHeaderSize)));
  const auto magic = header.integer<std::uint32_t>(order_);
  const auto version = header.integer<std::uint16_t>(order_);
  header.take(14);  // The minor version, the time zone, its precision and the longest packet.
  linkType_ = header.integer<std::uint32_t>(order_) & kLinkTypeBits;
  if (!header.ok()) {
    throw InputError(name_, "is cut off inside the pcap file header; record the capture again");
  }
  if (version != kVersion) {
    throw InputError(name_, "pcap version " + std::to_string(version) +
                                " is not known; convert the file to version 2");
  }
  hasNanoseconds_ = magic == kNanoseconds;
  isModified_ = magic == kModified;
  offset_ = kHeaderSize;

  checkLinkType();
  offset_ = kHeaderSize;
}

/// Looks for a packet of a readable type: most often the file's own type tells.
void Pcap::checkLinkType() {
  std::span<const std::uint8_t> content;
  try {
    while (!LinkTypes::areReadable(linkType_, content) && offset_ < bytes_.size()) {
      content = read().content;
    }
  } catch (const InputError&) {
    // Said where the record is used.
  }
  if (!LinkTypes::areReadable(linkType_, content)) {
    throw InputError(name_, LinkTypes::refusal(linkType_, content));
  }
}

Pcap::Record Pcap::read() {
  ByteCursor cursor(bytes_.subspan(offset_));
  Record record{};
  record.seconds = cursor.integer<std::uint32_t>(order_);
  record.fraction = cursor.integer<std::uint32_t>(order_);
  const auto length = cursor.integer<std::uint32_t>(order_);
  record.originalLength = cursor.integer<std::uint32_t>(order_);
  if (isModified_) {
    cursor.take(8);  // The interface, the protocol and the kind of the packet.
  }
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  if (length > kLongestRecord) {
    throwImpossibleLength(name_, offset_, length);
  }
  record.content = cursor.take(length);
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  offset_ = bytes_.size() - cursor.rest().size();
  return record;
}

bool Pcap::next(Packet& packet) {
  if (offset_ == bytes_.size()) {
    return false;
  }
  const Record record = read();
  const std::chrono::microseconds fraction(hasNanoseconds_ ? record.fraction / 1000
                                                           : record.fraction);
  packet.time = std::chrono::seconds(record.seconds) +
                std::min<std::chrono::microseconds>(fraction, std::chrono::microseconds(999'999));
  packet.isCut = record.content.size() < record.originalLength;
  linkTypes_.hold(linkType_, record.content, packet);
  return true;
}

}  // namespace nimbrel
