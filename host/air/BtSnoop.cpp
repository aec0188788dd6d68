#include "host/air/BtSnoop.hpp"

#include <algorithm>
#include <bit>
#include <chrono>
#include <limits>
#include <utility>

#include "host/air/ByteCursor.hpp"
#include "host/air/RecordDamage.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

constexpr std::size_t kHeaderSize = 16;

/// H1 packets carry no type of their own; the record's flags tell them apart.
constexpr std::uint32_t kReceivedEvent = 3;

std::string describe(std::uint32_t datalink) {
  auto number = std::to_string(datalink);
  if (datalink == BtSnoop::bcsp) {
    return number + " (HCI BCSP)";
  }
  if (datalink == BtSnoop::h5) {
    return number + " (HCI H5)";
  }
  return number;
}

}  // namespace

bool BtSnoop::recognises(std::span<const std::uint8_t> bytes) {
  const auto known = std::min(bytes.size(), kMagic.size());
  return known > 0 && std::ranges::equal(bytes.first(known), std::span(kMagic).first(known));
}

BtSnoop::BtSnoop(std::span<const std::uint8_t> content, std::string fileName)
    : bytes_(content), name_(std::move(fileName)) {
  ByteCursor cursor(bytes_);
  cursor.take(kMagic.size());
  const auto version = cursor.integer<std::uint32_t>(std::endian::big);
  datalink_ = cursor.integer<std::uint32_t>(std::endian::big);
  if (!cursor.ok()) {
    throw InputError(name_, "is cut off inside the btsnoop file header; record the capture again");
  }
  if (version != 1) {
    throw InputError(name_, "btsnoop version " + std::to_string(version) +
                                " is not known; convert the file to version 1");
  }
  if (datalink_ != h1 && datalink_ != h4 && datalink_ != monitor) {
    throw InputError(name_, "btsnoop datalink " + describe(datalink_) +
                                " cannot be read; record HCI H1 (1001), HCI H4 (1002) or the Linux "
                                "monitor (2001)");
  }
  offset_ = kHeaderSize;
}

bool BtSnoop::next(Packet& packet) {
  if (offset_ == bytes_.size()) {
    return false;
  }
  ByteCursor cursor(bytes_.subspan(offset_));
  ByteCursor head(cursor.take(24));
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  head.take(4);  // The packet's original length: more than is here where the recorder cut it.
  const auto length = head.integer<std::uint32_t>(std::endian::big);
  const auto flags = head.integer<std::uint32_t>(std::endian::big);
  head.take(4);  // The number of packets lost so far.
  const auto stamp = head.integer<std::uint64_t>(std::endian::big);
  if (length > kLongestRecord) {
    throwImpossibleLength(name_, offset_, length);
  }
  const auto content = cursor.take(length);
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  const std::chrono::microseconds sinceEpoch(static_cast<std::int64_t>(
      std::min<std::uint64_t>(stamp, std::numeric_limits<std::int64_t>::max())));
  packet.time =
      std::clamp<std::chrono::microseconds>(sinceEpoch - kEpoch, kEarliestTime, kLatestTime);
  switch (datalink_) {
    case h1:
      packet.holdHci((flags & kReceivedEvent) == kReceivedEvent, content);
      break;
    case h4:
      packet.holdH4(content);
      break;
    default:
      // The number of the adapter is in the upper half.
      packet.holdMonitored(static_cast<std::uint16_t>(flags), content);
  }
  offset_ = bytes_.size() - cursor.rest().size();
  return true;
}

}  // namespace nimbrel
