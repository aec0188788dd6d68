#include "host/air/PcapNg.hpp"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "host/air/RecordDamage.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

enum Block : std::uint32_t {
  sectionHeader = 0x0A0D0D0A,
  interfaceDescription = 1,
  olderPacket = 2,
  simplePacket = 3,
  enhancedPacket = 6,
};

constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint32_t kSwappedByteOrderMagic = 0x4D3C2B1A;
/// The type, and the length at either end.
constexpr std::uint32_t kShortestBlock = 12;

/// `stamp` counts parts of a second: 10^-resolution or, with the highest bit, 2^-resolution.
std::chrono::microseconds timeOf(std::uint64_t stamp, std::uint8_t resolution,
                                 std::int64_t offsetSeconds) {
  constexpr std::uint8_t kPowerOfTwo = 0x80;
  constexpr std::uint64_t kMillion = 1'000'000;
  constexpr std::uint64_t kLatest = 300'000'000'000;  // seconds: more than any time here
  const unsigned exponent = resolution & 0x7FU;
  std::uint64_t seconds = stamp;
  std::uint64_t micros = 0;
  if ((resolution & kPowerOfTwo) != 0) {
    // With 44 bits of the fraction, a million of it fits.
    constexpr unsigned kKept = 44;
    seconds = exponent < 64 ? stamp >> exponent : 0;
    auto fraction = exponent < 64 ? stamp ^ (seconds << exponent) : stamp;
    const unsigned excess = exponent > kKept ? exponent - kKept : 0;
    fraction = excess < 64 ? fraction >> excess : 0;
    micros = fraction * kMillion >> std::min(exponent, kKept);
  } else {
    // 64 bits hold no more than 20 digits.
    std::uint64_t unit = 1;
    for (unsigned i = 0; i < std::min(exponent, 19U); ++i) {
      unit *= 10;
    }
    seconds = exponent < 20 ? stamp / unit : 0;
    const auto fraction = exponent < 20 ? stamp % unit : 0;
    micros = unit > kMillion ? fraction / (unit / kMillion) : fraction * (kMillion / unit);
  }
  const auto whole = static_cast<std::int64_t>(std::min(seconds, kLatest)) +
                     std::clamp(offsetSeconds, -static_cast<std::int64_t>(kLatest),
                                static_cast<std::int64_t>(kLatest));
  return std::clamp(std::chrono::seconds(whole), kEarliestTime, kLatestTime) +
         std::chrono::microseconds(micros);
}

}  // namespace

bool PcapNg::recognises(std::span<const std::uint8_t> bytes) {
  return ByteCursor(bytes).integer<std::uint32_t>() == sectionHeader;
}

PcapNg::PcapNg(std::span<const std::uint8_t> content, std::string fileName)
    : bytes_(content), name_(std::move(fileName)) {
  std::uint32_t type = 0;
  try {
    beginSection(readBlock(type));
  } catch (const InputError&) {
    throw InputError(name_, "has a damaged pcapng header; record the capture again");
  }
  checkLinkTypes();
  offset_ = 0;
}

/// Looks for a packet of a readable link type: most often the first one is.
void PcapNg::checkLinkTypes() {
  std::optional<Captured> unreadable;
  try {
    for (Captured packet; read(packet);) {
      if (LinkTypes::areReadable(packet.linkType, packet.content)) {
        return;
      }
      unreadable = packet;
    }
  } catch (const InputError&) {
    // Said where the block is used.
  }
  if (unreadable) {
    throw InputError(name_, LinkTypes::refusal(unreadable->linkType, unreadable->content));
  }
}

bool PcapNg::next(Packet& packet) {
  if (!read(captured_)) {
    return false;
  }
  packet.time = captured_.time;
  packet.isCut = captured_.isCut;
  linkTypes_.hold(captured_.linkType, captured_.content, packet);
  return true;
}

bool PcapNg::read(Captured& captured) {
  while (offset_ < bytes_.size()) {
    std::uint32_t type = 0;
    const ByteCursor body = readBlock(type);
    switch (type) {
      case sectionHeader:
        beginSection(body);
        break;
      case interfaceDescription:
        addInterface(body);
        break;
      case olderPacket:
      case simplePacket:
      case enhancedPacket:
        readPacket(type, body, captured);
        return true;
      default:
        break;
    }
  }
  return false;
}

/// Of a section whose length comes next.
std::endian PcapNg::orderOf(ByteCursor section) const {
  section.take(4);
  const auto magic = section.integer<std::uint32_t>(std::endian::little);
  if (!section.ok()) {
    throwCutOff(name_, block_);
  }
  if (magic == kByteOrderMagic) {
    return std::endian::little;
  }
  if (magic != kSwappedByteOrderMagic) {
    throwDamaged(name_, block_, "begins a section without its byte order");
  }
  return std::endian::big;
}

ByteCursor PcapNg::readBlock(std::uint32_t& type) {
  block_ = offset_;
  ByteCursor cursor(bytes_.subspan(block_));
  type = cursor.integer<std::uint32_t>(order_);
  if (type == sectionHeader) {
    // From here on in its own byte order, which stands behind its length.
    order_ = orderOf(cursor);
  }
  const auto length = cursor.integer<std::uint32_t>(order_);
  if (!cursor.ok()) {
    throwCutOff(name_, block_);
  }
  if (length < kShortestBlock || length % 4 != 0) {
    throwImpossibleLength(name_, block_, length);
  }
  const auto body = cursor.take(length - kShortestBlock);
  const auto lengthAgain = cursor.integer<std::uint32_t>(order_);
  if (!cursor.ok()) {
    throwCutOff(name_, block_);
  }
  if (lengthAgain != length) {
    throwDamaged(name_, block_, "ends with another length than it begins with");
  }
  offset_ = bytes_.size() - cursor.rest().size();
  return ByteCursor(body);
}

void PcapNg::beginSection(ByteCursor body) {
  constexpr std::uint16_t kVersion = 1;
  body.take(4);  // The byte order.
  const auto version = body.integer<std::uint16_t>(order_);
  if (version != kVersion) {
    throwDamaged(
        name_, block_,
        "begins a section of pcapng version " + std::to_string(version) + ", which is not known");
  }
  interfaces_.clear();
}

void PcapNg::addInterface(ByteCursor body) {
  constexpr std::uint16_t kEndOfOptions = 0;
  constexpr std::uint16_t kResolution = 9;
  constexpr std::uint16_t kTimeOffset = 14;
  Interface added;
  added.linkType = body.integer<std::uint16_t>(order_);
  body.take(2);
  added.longestPacket = body.integer<std::uint32_t>(order_);
  if (!body.ok()) {
    throwDamaged(name_, block_, "is too short for an interface");
  }
  while (!body.rest().empty()) {
    const auto code = body.integer<std::uint16_t>(order_);
    const std::size_t length = body.integer<std::uint16_t>(order_);
    ByteCursor value(body.take(length));
    body.takeUpTo((4 - length % 4) % 4);
    if (code == kEndOfOptions || !body.ok()) {
      break;
    }
    if (code == kResolution && length == 1) {
      added.resolution = value.byte();
    } else if (code == kTimeOffset && length == 8) {
      added.offsetSeconds = static_cast<std::int64_t>(value.integer<std::uint64_t>(order_));
    }
  }
  interfaces_.push_back(added);
}

const PcapNg::Interface& PcapNg::interfaceOf(std::uint32_t number) const {
  if (number >= interfaces_.size()) {
    throwDamaged(
        name_, block_,
        "is of interface " + std::to_string(number) + ", which the file does not describe");
  }
  return interfaces_[number];
}

void PcapNg::readPacket(std::uint32_t blockType, ByteCursor body, Captured& captured) {
  std::uint32_t number = 0;
  if (blockType == enhancedPacket) {
    number = body.integer<std::uint32_t>(order_);
  } else if (blockType == olderPacket) {
    number = body.integer<std::uint16_t>(order_);
    body.take(2);  // The number of lost packets.
  }
  const Interface& interface = interfaceOf(number);
  std::uint32_t length = 0;
  std::uint32_t originalLength = 0;
  if (blockType == simplePacket) {
    originalLength = body.integer<std::uint32_t>(order_);
    const auto longest = interface.longestPacket == 0 ? std::numeric_limits<std::uint32_t>::max()
                                                      : interface.longestPacket;
    length = std::min(originalLength, longest);
  } else {
    const std::uint64_t high = body.integer<std::uint32_t>(order_);
    const std::uint64_t low = body.integer<std::uint32_t>(order_);
    captured.time = timeOf(high << 32U | low, interface.resolution, interface.offsetSeconds);
    length = body.integer<std::uint32_t>(order_);
    originalLength = body.integer<std::uint32_t>(order_);
  }
  captured.linkType = interface.linkType;
  captured.isCut = length < originalLength;
  captured.content = body.take(length);
  if (!body.ok()) {
    throwDamaged(name_, block_, "is too short for its packet");
  }
}

}  // namespace nimbrel
