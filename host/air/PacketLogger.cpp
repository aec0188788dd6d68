#include "host/air/PacketLogger.hpp"

#include <chrono>
#include <optional>
#include <utility>

#include "host/air/ByteCursor.hpp"
#include "host/air/RecordDamage.hpp"

namespace nimbrel {
namespace {

constexpr std::uint8_t kEventType = 0x01;
/// What a record's length counts besides the packet: the time and the type.
constexpr std::uint32_t kShortestRecord = 9;

struct RecordHead {
  std::uint32_t length;
  std::uint32_t seconds;
  std::uint32_t microseconds;
  std::uint8_t type;

  RecordHead(ByteCursor& cursor, std::endian order)
      : length(cursor.integer<std::uint32_t>(order)),
        seconds(cursor.integer<std::uint32_t>(order)),
        microseconds(cursor.integer<std::uint32_t>(order)),
        type(cursor.byte()) {}

  [[nodiscard]] bool hasPossibleLength() const {
    return length >= kShortestRecord && length <= kLongestRecord;
  }
};

/// Packets of all kinds are numbered from 0, texts and states of the recorder down from 0xff.
bool isKnown(std::uint8_t type) { return type <= 0x20 || type >= 0xe0; }

/// Whether whole records follow one another from the start: two, or one to the end. The head of
/// one record alone is found in files of other kinds, too.
bool beginsWithRecords(std::span<const std::uint8_t> bytes, std::endian order) {
  constexpr int kEnough = 2;
  ByteCursor cursor(bytes);
  int whole = 0;
  for (; whole < kEnough && !cursor.rest().empty(); ++whole) {
    const RecordHead head(cursor, order);
    if (!cursor.ok()) {
      break;
    }
    if (!head.hasPossibleLength() || head.microseconds >= 1'000'000 || !isKnown(head.type)) {
      return false;
    }
    cursor.take(head.length - kShortestRecord);
    if (!cursor.ok()) {
      break;
    }
  }
  return whole > 0;
}

/// In the wrong order, a length or a fraction of a second is out of range.
std::optional<std::endian> orderOf(std::span<const std::uint8_t> bytes) {
  for (const auto order : {std::endian::little, std::endian::big}) {
    if (beginsWithRecords(bytes, order)) {
      return order;
    }
  }
  return std::nullopt;
}

}  // namespace

bool PacketLogger::recognises(std::span<const std::uint8_t> bytes) {
  return orderOf(bytes).has_value();
}

PacketLogger::PacketLogger(std::span<const std::uint8_t> content, std::string fileName)
    : bytes_(content),
      name_(std::move(fileName)),
      order_(orderOf(bytes_).value_or(std::endian::big)) {}

bool PacketLogger::next(Packet& packet) {
  if (offset_ == bytes_.size()) {
    return false;
  }
  ByteCursor cursor(bytes_.subspan(offset_));
  const RecordHead head(cursor, order_);
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  if (!head.hasPossibleLength()) {
    throwImpossibleLength(name_, offset_, head.length);
  }
  const auto content = cursor.take(head.length - kShortestRecord);
  if (!cursor.ok()) {
    throwCutOff(name_, offset_);
  }
  packet.time = std::chrono::seconds(head.seconds) + std::chrono::microseconds(head.microseconds);
  packet.holdHci(head.type == kEventType, content);
  offset_ = bytes_.size() - cursor.rest().size();
  return true;
}

}  // namespace nimbrel
