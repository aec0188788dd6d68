#include "host/air/BugReport.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "host/air/ByteCursor.hpp"
#include "host/base/Bytes.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

constexpr std::string_view kBegin = "--- BEGIN:BTSNOOP_LOG_SUMMARY";
constexpr std::string_view kEnd = "--- END:BTSNOOP_LOG_SUMMARY";
/// A phone keeps less than a megabyte of it.
constexpr std::size_t kLargestLog = std::size_t{64} << 20U;
/// The version and the time of the last packet.
constexpr std::size_t kHeaderSize = 9;

/// What stands below the line with the mark; nothing without it.
std::optional<std::string_view> packedLog(std::string_view text) {
  for (auto at = text.find(kBegin); at != std::string_view::npos; at = text.find(kBegin, at + 1)) {
    if (at == 0 || text[at - 1] == '\n') {
      const auto below = text.substr(std::min(text.size(), text.find('\n', at)));
      return below.substr(0, below.find(kEnd));
    }
  }
  return std::nullopt;
}

/// The value of a digit of base64; none for other characters.
/// Source: RFC 4648, section 4.
std::optional<std::uint32_t> digitOf(char character) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto found = kDigits.find(character);
  return found == std::string_view::npos ? std::nullopt
                                         : std::optional(static_cast<std::uint32_t>(found));
}

std::vector<std::uint8_t> decodeBase64(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char character : text) {
    const auto digit = digitOf(character);
    if (!digit) {
      continue;  // The ends of lines and the padding.
    }
    bits = bits << 6U | *digit;
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes.push_back(static_cast<std::uint8_t>(bits >> count));
    }
  }
  return bytes;
}

/// What there is of a stream that may break off.
std::vector<std::uint8_t> inflated(std::span<std::uint8_t> packed, const std::string& name) {
  std::vector<std::uint8_t> bytes;
  z_stream stream{};
  if (::inflateInit(&stream) != Z_OK) {
    throw InputError(name, "the log in it cannot be unpacked: out of memory");
  }
  stream.next_in = packed.data();
  stream.avail_in = static_cast<unsigned>(packed.size());
  std::array<std::uint8_t, 65536> part{};
  int outcome = Z_OK;
  while (outcome == Z_OK && bytes.size() <= kLargestLog) {
    stream.next_out = part.data();
    stream.avail_out = part.size();
    outcome = ::inflate(&stream, Z_NO_FLUSH);
    bytes.insert(bytes.end(), part.begin(), part.end() - stream.avail_out);
  }
  ::inflateEnd(&stream);
  if (bytes.size() > kLargestLog) {
    throw InputError(name, "the log in it unpacks to more than 64 MiB, which none does");
  }
  if (bytes.empty() && outcome != Z_STREAM_END) {
    throw InputError(name, "the log in it is damaged; take the bug report again");
  }
  return bytes;
}

}  // namespace

struct BugReport::Record {
  std::chrono::microseconds sincePrevious;
  std::uint8_t type;
  std::span<const std::uint8_t> content;
};

bool BugReport::recognises(std::span<const std::uint8_t> bytes) {
  return packedLog(textOf(bytes)).has_value();
}

BugReport::BugReport(std::span<const std::uint8_t> content, std::string fileName)
    : name_(std::move(fileName)), textSize_(content.size()) {
  auto packed = decodeBase64(packedLog(textOf(content)).value_or(std::string_view()));
  ByteCursor header(packed);
  version_ = header.byte();
  const auto lastTime = header.integer<std::uint64_t>();
  if (!header.ok()) {
    throw InputError(name_, "the log in it is empty; take the bug report while Bluetooth is on");
  }
  if (version_ != 1 && version_ != 2) {
    throw InputError(name_, "version " + std::to_string(version_) +
                                " of the log in it is not known; record btsnoop_hci.log instead");
  }
  records_ = inflated(std::span(packed).subspan(kHeaderSize), name_);
  time_ = firstTime(lastTime);
}

std::chrono::microseconds BugReport::firstTime(std::uint64_t lastTime) const {
  constexpr auto kLatest =
      static_cast<std::uint64_t>(std::chrono::microseconds(kLatestTime).count());
  std::chrono::microseconds time(std::min(lastTime, kLatest));
  std::size_t offset = 0;
  Record record{};
  try {
    read(offset, record);
    while (read(offset, record)) {
      time -= record.sincePrevious;
    }
  } catch (const InputError&) {
    // Said where the record is used.
  }
  return time;
}

bool BugReport::read(std::size_t& offset, Record& record) const {
  if (offset == records_.size()) {
    return false;
  }
  ByteCursor cursor(std::span<const std::uint8_t>(records_).subspan(offset));
  const std::size_t length = cursor.integer<std::uint16_t>();
  if (version_ == 2) {
    cursor.take(2);  // The length on the wire.
  }
  record.sincePrevious = std::chrono::microseconds(cursor.integer<std::uint32_t>());
  record.type = cursor.byte();
  // The length counts the type.
  record.content = cursor.take(std::max<std::size_t>(length, 1) - 1);
  if (!cursor.ok()) {
    throw InputError(name_, "the log in it is cut off after " + std::to_string(offset) +
                                " unpacked bytes; used up to there");
  }
  offset = records_.size() - cursor.rest().size();
  return true;
}

bool BugReport::next(Packet& packet) {
  constexpr std::uint8_t kReceivedEvent = 0x10;
  const bool isFirst = offset_ == 0;
  Record record{};
  if (!read(offset_, record)) {
    return false;
  }
  if (!isFirst) {
    time_ += record.sincePrevious;
  }
  packet.time = std::clamp<std::chrono::microseconds>(time_, kEarliestTime, kLatestTime);
  packet.holdHci(record.type == kReceivedEvent, record.content);
  return true;
}

std::size_t BugReport::position() const {
  return records_.empty() ? textSize_
                          : static_cast<std::size_t>(static_cast<double>(textSize_) *
                                                     (static_cast<double>(offset_) /
                                                      static_cast<double>(records_.size())));
}

}  // namespace nimbrel
