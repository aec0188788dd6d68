#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "host/air/Pcap.hpp"
#include "host/air/PcapNg.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

using Lines = std::vector<std::string>;

constexpr std::uint64_t kMillion = 1'000'000;
constexpr std::uint32_t kH4 = 187;
constexpr std::uint32_t kEthernet = 1;
const Bytes kEvent = hex("04 3E00");

/// "SECONDS.MICROSECONDS DATA" of each packet, "other" for the data of those of no use, and what
/// stopped the reading.
template <typename Reader>
Lines read(const Bytes& bytes) {
  Lines lines;
  try {
    Reader reader(bytes, "file");
    for (Packet packet; reader.next(packet);) {
      const auto time = packet.time.count();
      const auto micros = std::to_string(time % 1'000'000 + 1'000'000).substr(1);
      lines.push_back(std::to_string(time / 1'000'000) + "." + micros + " " +
                      (packet.kind == Packet::Kind::hciEvent ? toHex(packet.data) : "other") +
                      (packet.isCut ? " cut" : ""));
      EXPECT_LE(reader.position(), bytes.size());
    }
  } catch (const InputError& error) {
    lines.emplace_back(error.what());
  }
  return lines;
}

Bytes option(Number number, std::uint16_t code, const Bytes& value) {
  return number(2, code) + number(2, value.size()) + value + Bytes((4 - value.size() % 4) % 4, 0);
}

TEST(Pcap, ReadsRecordsOfAnyHeader) {
  for (const Number number : {Number(little), Number(big)}) {
    const auto header = pcapHeader(number, kH4);
    EXPECT_EQ(
        read<Pcap>(header + pcapRecord(number, 0xFFFFFFFF, 7, kEvent) +
                   pcapRecord(number, 5, 2'000'000, {}) + pcapRecord(number, 0, 0, hex("043E"), 1)),
        (Lines{"4294967295.000007 3E00", "5.999999 other", "0.000000 3E cut"}));
    EXPECT_EQ(read<Pcap>(pcapHeader(number, kH4, 0xA1B2CD34) + number(4, 5) + number(4, 6) +
                         number(4, 3) + number(4, 3) + Bytes(8, 0xEE) + kEvent),
              Lines{"5.000006 3E00"});
  }
  EXPECT_EQ(read<Pcap>(pcapHeader(little, 0xF0000000 | kH4)), Lines{})
      << "the length of a checksum is no part of the link type";
  EXPECT_EQ(
      read<Pcap>(pcapHeader(little, 192) + pcapRecord(little, 1, 0, hex("00000800 69000000")) +
                 pcapRecord(little, 1, 0, hex("00000800 BB000000") + kEvent)),
      (Lines{"1.000000 other", "1.000000 3E00"}));
}

TEST(Pcap, StopsAtARecordThatNoneCanBe) {
  const auto header = pcapHeader(little, kH4);
  const auto record = [](std::size_t size) {
    return little(8, 0) + little(4, size) + little(4, size) + Bytes(size, 0);
  };
  EXPECT_EQ(read<Pcap>(header + record(0x40000)), Lines{"0.000000 other"});
  EXPECT_EQ(
      read<Pcap>(header + record(0x40001)),
      Lines{"file: the record at byte 24 claims a length of 262145 bytes, which none has; used "
            "up to there"});
}

TEST(PcapNg, ReadsEveryInterfaceOfEverySectionByItsOwnRules) {
  EXPECT_EQ(read<PcapNg>(section(little) + block(little, 0xBAD, hex("0102030405")) +
                         interfaceBlock(little, kEthernet) + interfaceBlock(little, kH4) +
                         interfaceBlock(little, 201, option(little, 9, {9}) + little(4, 0)) +
                         packetBlock(little, 0, 1 * kMillion, kEvent) +
                         packetBlock(little, 1, 2 * kMillion, kEvent) +
                         packetBlock(little, 2, 3'000'001'999, hex("00000001") + kEvent) +
                         section(big) + interfaceBlock(big, 201) +
                         packetBlock(big, 0, 4 * kMillion, hex("00000000") + kEvent)),
            (Lines{"1.000000 other", "2.000000 3E00", "3.000001 3E00", "4.000000 3E00"}));
}

TEST(PcapNg, ReadsSimpleAndOlderPackets) {
  const auto start = section(little) + interfaceBlock(little, kEthernet) +
                     interfaceBlock(little, kH4) +
                     block(little, 2,
                           little(2, 1) + little(2, 7) + little(4, 0) + little(4, 5 * kMillion) +
                               little(4, 3) + little(4, 9) + kEvent);
  EXPECT_EQ(read<PcapNg>(start), Lines{"5.000000 3E00 cut"});
  const auto simple = block(little, 3, little(4, 3) + kEvent);
  EXPECT_EQ(read<PcapNg>(start + section(little) + interfaceBlock(little, kH4) + simple),
            (Lines{"5.000000 3E00 cut", "5.000000 3E00"}))
      << "at the time of the packet before";
  EXPECT_EQ(read<PcapNg>(section(little) + interfaceBlock(little, kH4, {}, 2) +
                         block(little, 3, little(4, 3) + hex("043E"))),
            Lines{"0.000000 3E cut"});
  EXPECT_EQ(read<PcapNg>(section(little) + interfaceBlock(little, kH4, {}, 0) + simple),
            Lines{"0.000000 3E00"});
}

TEST(PcapNg, CountsTimeAsTheInterfaceSays) {
  const std::tuple<Bytes, std::uint64_t, const char*> cases[] = {
      {{}, 1'700'000'000'250'000, "1700000000.250000"},
      {option(little, 9, {0}), 7, "7.000000"},
      {option(little, 9, {3}), 7'008, "7.008000"},
      {option(little, 9, {6}), 7'000'008, "7.000008"},
      {option(little, 9, {9}), 7'000'008'999, "7.000008"},
      {option(little, 9, {19}), 15'000'000'000'000'000'000U, "1.500000"},
      {option(little, 9, {20}), ~0ULL, "0.000000"},
      {option(little, 9, {0x80}), 7, "7.000000"},
      {option(little, 9, {0x81}), 7, "3.500000"},
      {option(little, 9, {0x80 | 20}), (7U << 20U) + (1U << 18U), "7.250000"},
      {option(little, 9, {0x80 | 60}), 7ULL << 58U, "1.750000"},
      {option(little, 9, {0x80 | 63}), ~0ULL, "1.999999"},
      {option(little, 9, {0x80 | 64}), 1ULL << 63U, "0.500000"},
      {option(little, 9, {0xFF}), ~0ULL, "0.000000"},
      {option(little, 14, little(8, 10)), 1'000'000, "11.000000"},
      {option(little, 14, little(8, static_cast<std::uint64_t>(-10))), 12'000'001, "2.000001"},
      {option(little, 2, text("name")) + option(little, 9, {0}), 7, "7.000000"},
      {little(4, 0) + option(little, 9, {0}), 7, "0.000007"},
      {option(little, 9, {0, 0}), 7, "0.000007"},
      {little(2, 9) + little(2, 99), 7, "0.000007"},
      {option(little, 9, {0}), ~0ULL, "253402300799.000000"},
      {option(little, 14, little(8, 1ULL << 63U)), 0, "-62167219200.000000"},
      {option(little, 14, little(8, ~0ULL >> 1U)), 0, "253402300799.000000"},
  };
  for (const auto& [options, stamp, expected] : cases) {
    EXPECT_EQ(read<PcapNg>(section(little) + interfaceBlock(little, kH4, options) +
                           packetBlock(little, 0, stamp, kEvent)),
              Lines{std::string(expected) + " 3E00"});
  }
}

TEST(PcapNg, StopsAtABlockThatCannotBeUsed) {
  const auto start = section(little) + interfaceBlock(little, kH4) +
                     packetBlock(little, 0, 0, kEvent);  // 28 + 20 + 36 bytes
  const auto whole = packetBlock(little, 0, 0, kEvent);
  auto otherEnd = whole;
  otherEnd[32] = 40;
  auto newVersion = section(little);
  newVersion[12] = 2;
  auto noOrder = section(little);
  noOrder[8] = 0;
  const std::pair<Bytes, std::string> cases[] = {
      {Bytes(whole.begin(), whole.end() - 1), "is cut off inside the record at byte 84"},
      {Bytes(whole.begin(), whole.begin() + 7), "is cut off inside the record at byte 84"},
      {hex("0600000008000000"), "the record at byte 84 claims a length of 8 bytes, which none has"},
      {hex("060000000D000000"),
       "the record at byte 84 claims a length of 13 bytes, which none has"},
      {otherEnd, "the block at byte 84 ends with another length than it begins with"},
      {packetBlock(little, 1, 0, kEvent),
       "the block at byte 84 is of interface 1, which the file does not describe"},
      {section(little) + packetBlock(little, 0, 0, kEvent),
       "the block at byte 112 is of interface 0, which the file does not describe"},
      {block(little, 6, little(12, 0) + little(4, 5) + little(4, 5) + Bytes(4, 0)),
       "the block at byte 84 is too short for its packet"},
      {block(little, 1, little(4, kH4)), "the block at byte 84 is too short for an interface"},
      {newVersion, "the block at byte 84 begins a section of pcapng version 2, which is not known"},
      {noOrder, "the block at byte 84 begins a section without its byte order"},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(read<PcapNg>(start + bytes),
              (Lines{"0.000000 3E00", "file: " + expected + "; used up to there"}));
  }
}

class UsbRecords : public testing::Test {
 protected:
  /// Of the device 5 on the bus 1, unless said otherwise.
  std::string heard(const std::string& digits, const std::string& type = "43 01 81 05 0100",
                    bool isCut = false) {
    kept = hex("0000000000000000" + type) + Bytes(34, 0) + hex(digits);
    Packet packet;
    packet.isCut = isCut;
    transfers.holdFromLinux(kept, 48, packet);
    return packet.kind == Packet::Kind::hciEvent ? toHex(packet.data) : "other";
  }
  std::string heardOnWindows(const std::string& header) {
    kept = hex(header + "3E0100");
    Packet packet;
    transfers.holdFromWindows(kept, packet);
    return packet.kind == Packet::Kind::hciEvent ? toHex(packet.data) : "other";
  }

  Bytes kept;
  UsbTransfers transfers;
};

TEST_F(UsbRecords, AreEventsWhereTheyCameInOnAnInterruptEndpoint) {
  EXPECT_EQ(heard("3E0100"), "3E0100");
  EXPECT_EQ(heard("3E0100", "53 01 81 05 0100"), "other") << "submitted";
  EXPECT_EQ(heard("3E0100", "43 03 81 05 0100"), "other") << "bulk";
  EXPECT_EQ(heard("3E0100", "43 01 01 05 0100"), "other") << "going out";
  EXPECT_EQ(heard(""), "other");
  const std::string start = "1B00 0000000000000000 00000000 0900 ";
  EXPECT_EQ(heardOnWindows(start + "01 0100 0200 81 01 03000000"), "3E0100");
  EXPECT_EQ(heardOnWindows("1C00" + start.substr(4) + "01 0100 0200 81 01 03000000 FF"), "3E0100");
  EXPECT_EQ(heardOnWindows(start + "00 0100 0200 81 01 03000000"), "other");
  EXPECT_EQ(heardOnWindows(start + "01 0100 0200 01 01 03000000"), "other");
  EXPECT_EQ(heardOnWindows(start + "01 0100 0200 81 03 03000000"), "other");
}

TEST_F(UsbRecords, AreJoinedForEachEndpoint) {
  const std::string first = "3E121112131415161718191A1B1C1D1E";
  EXPECT_EQ(heard(first), "other");
  EXPECT_EQ(heard("3E12", "43 01 81 06 0100"), "other") << "another device: too short for a part";
  EXPECT_EQ(heard("3E0100", "43 01 82 05 0100"), "3E0100") << "another endpoint";
  EXPECT_EQ(heard("3E0100", "43 01 81 05 0200"), "3E0100") << "another bus";
  EXPECT_EQ(heard("1F202122"), first + "1F202122");
  EXPECT_EQ(heard("0E0100"), "0E0100");
  EXPECT_EQ(heard(first), "other");
  EXPECT_EQ(heard("1F20"), "other") << "shorter than a part, and not the end";
  EXPECT_EQ(heard("3E0100"), "3E0100");
  const std::string type = "43 01 81 05 0100";
  EXPECT_EQ(heard(first, type, true), first) << "cut by the recorder: nothing fills the gap";
  EXPECT_EQ(heard(first), "other");
  EXPECT_EQ(heard("1F", type, true), "other");
  EXPECT_EQ(heard("0E0100"), "0E0100");
}

}  // namespace
}  // namespace nimbrel
