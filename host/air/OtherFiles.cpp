#include "host/air/OtherFiles.hpp"

#include <algorithm>
#include <string_view>

#include "host/air/ByteCursor.hpp"
#include "host/base/Bytes.hpp"

namespace nimbrel {
namespace {

using namespace std::string_view_literals;

constexpr auto kRecord = "record or convert it to btsnoop, PacketLogger, pcap or pcapng";
constexpr auto kUnpack = "unpack it and name the recording in it";

struct Mark {
  std::string_view bytes;
  std::string_view name;
};

constexpr Mark kArchives[] = {
    {"7z\xBC\xAF\x27\x1C"sv, "a 7-Zip archive"},
    {"Rar!\x1A\x07"sv, "a RAR archive"},
    {"\x04\x22\x4D\x18"sv, "a file compressed with LZ4"},
};

constexpr Mark kOthers[] = {
    {"\xFF\xD8\xFF"sv, "a JPEG picture"},
    {"\x89PNG\r\n\x1A\n"sv, "a PNG picture"},
    {"GIF8"sv, "a GIF picture"},
    {"%PDF-"sv, "a PDF document"},
    {"\x7F"
     "ELF"sv,
     "a program"},
    {"SQLite format 3"sv, "an SQLite database"},
    {"LOGG"sv, "a log of a CAN bus (BLF)"},
};

/// What marks the output of programs that print packets.
constexpr std::string_view kPrinted[] = {"HCI Event: ", "HCI sniffer", "LE Meta Event",
                                         "btmon ver"};

/// Enough to tell that records follow one another, which they do not by chance.
constexpr int kEnough = 3;

/// Moves past a packet with its H4 type in front. Returns false if it is none.
bool passH4(ByteCursor& cursor) {
  std::size_t length = 0;
  switch (cursor.byte()) {
    case 0x01:  // A command.
    case 0x03:  // Sound.
      cursor.take(2);
      length = cursor.byte();
      break;
    case 0x02:  // Data.
      cursor.take(2);
      length = cursor.integer<std::uint16_t>();
      break;
    case 0x04:  // An event.
      cursor.take(1);
      length = cursor.byte();
      break;
    default:
      return false;
  }
  cursor.take(length);
  return cursor.ok();
}

bool isH4(std::span<const std::uint8_t> bytes) {
  ByteCursor cursor(bytes);
  int packets = 0;
  while (packets < kEnough && passH4(cursor)) {
    ++packets;
  }
  return packets == kEnough;
}

/// As hcidump -w writes: the packet's size, its direction, a zero, the seconds and microseconds.
bool isHcidump(std::span<const std::uint8_t> bytes) {
  ByteCursor cursor(bytes);
  for (int records = 0; records < kEnough; ++records) {
    const std::size_t size = cursor.integer<std::uint16_t>();
    const auto direction = cursor.byte();
    const auto zero = cursor.byte();
    cursor.take(4);
    const auto microseconds = cursor.integer<std::uint32_t>();
    ByteCursor packet(cursor.take(size));
    if (direction > 1 || zero != 0 || microseconds >= 1'000'000 || !passH4(packet) ||
        !packet.rest().empty() || !cursor.ok()) {
      return false;
    }
  }
  return true;
}

bool isText(std::string_view text) {
  return std::ranges::none_of(text, [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte == 0x7F ||
           (byte < ' ' && "\t\n\v\f\r\033"sv.find(character) == std::string_view::npos);
  });
}

std::string refusal(std::string_view name, std::string_view advice) {
  return std::string("is ").append(name).append(", not a recording; ").append(advice);
}

}  // namespace

std::string refusalOfOtherFile(std::span<const std::uint8_t> bytes) {
  const std::string_view beginning = textOf(bytes.first(std::min<std::size_t>(bytes.size(), 4096)));
  for (const auto& [mark, name] : kArchives) {
    if (beginning.starts_with(mark)) {
      return refusal(name, kUnpack);
    }
  }
  for (const auto& [mark, name] : kOthers) {
    if (beginning.starts_with(mark)) {
      return refusal(name, kRecord);
    }
  }
  if (isHcidump(bytes)) {
    return "is a recording of hcidump, which cannot be read; convert it (editcap -F btsnoop FILE "
           "NEW), or record with btmon --write";
  }
  if (isH4(bytes)) {
    return "holds HCI packets without their times; record with btmon --write, which keeps them";
  }
  if (!isText(beginning)) {
    return std::string("is not a capture of a known format; ").append(kRecord);
  }
  const bool isPrinted = std::ranges::any_of(kPrinted, [&](std::string_view mark) {
    return beginning.find(mark) != std::string_view::npos;
  });
  return isPrinted ? "is a log that a program printed; record packets themselves (btmon --write)"
                   : refusal("a text", kRecord);
}

}  // namespace nimbrel
