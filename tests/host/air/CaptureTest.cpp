#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "host/air/Capture.hpp"
#include "host/air/InputError.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

using testing::IsSubstring;
using Heard = std::vector<std::string>;

constexpr std::uint64_t second = 1'700'000'000;
constexpr std::uint64_t micros = second * 1'000'000 + 250'000;
constexpr std::uint64_t btsnoopStamp = 0x00DCDDB30F2F8000 + micros;

const Bytes report = event(hex("02 01 00 01 665544332211 03 020106 C4"));
const Bytes h4Report = hex("04") + report;
const Heard theReport{"112233445566 random -60 020106"};
const Bytes pdu = hex("D6BE898E 4009665544332211020106 AABBCC");

Bytes h4(const Bytes& packet, std::uint64_t stamp = btsnoopStamp) {
  return btsnoopRecord(3, stamp, packet);
}

using Number = Bytes (*)(std::size_t size, std::uint64_t value);

Bytes pcap(Number number, std::uint32_t linkType, const Bytes& packet, bool isNano = false) {
  const auto length = number(4, packet.size());
  return number(4, isNano ? 0xA1B23C4D : 0xA1B2C3D4) + number(2, 2) + number(2, 4) + number(8, 0) +
         number(4, 65535) + number(4, linkType) + number(4, second) +
         number(4, isNano ? 250'000'000 : 250'000) + length + length + packet;
}

/// A section, an interface and a packet, which must fill whole groups of four bytes.
Bytes pcapng(Number number, std::uint32_t linkType, const Bytes& packet) {
  const auto block = [&](std::uint32_t type, const Bytes& body) {
    const auto length = number(4, body.size() + 12);
    return number(4, type) + length + body + length;
  };
  const auto length = number(4, packet.size());
  return block(0x0A0D0D0A, number(4, 0x1A2B3C4D) + number(2, 1) + number(2, 0) + number(8, ~0ULL)) +
         block(1, number(2, linkType) + number(2, 0) + number(4, 65535)) +
         block(6, number(4, 0) + number(4, micros >> 32U) + number(4, micros) + length + length +
                      packet);
}

Bytes pklg(Number number, std::uint8_t type, const Bytes& packet) {
  return number(4, packet.size() + 9) + number(4, second) + number(4, 250'000) + little(1, type) +
         packet;
}

class CaptureOf : public testing::Test {
 protected:
  Capture::WarningHandler warn() {
    return [this](const std::string& warning) { warnings.push_back(warning); };
  }
  static Heard heard(Capture& capture) {
    Heard lines;
    while (const auto* advertisement = capture.next()) lines.push_back(inWords(*advertisement));
    return lines;
  }
  Heard heard(const Bytes& bytes) {
    content = bytes;
    capture = Capture::read(content, "walk", warn());
    return heard(*capture);
  }
  std::string refusal(const std::function<void()>& open) {
    try {
      open();
    } catch (const InputError& error) {
      return error.what();
    }
    return "none";
  }

  Bytes content;
  std::unique_ptr<Capture> capture;
  std::vector<std::string> warnings;
};

TEST_F(CaptureOf, EveryFormatIsHeardTheSame) {
  const Bytes radio = hex("00 C4 80 00 00000000 0300") + pdu;
  const Bytes nordic = hex("FE 1C00 02 0100 06 0A 01 25 3C 0000 00000000") + pdu;
  const struct {
    const char* what;
    Bytes bytes;
  } cases[] = {
      {"btsnoop H1", btsnoop(1001, btsnoopRecord(3, btsnoopStamp, report))},
      {"btsnoop H4", btsnoop(1002, h4(h4Report))},
      {"btsnoop monitor", btsnoop(2001, btsnoopRecord(0x10003, btsnoopStamp, report))},
      {"PacketLogger, big-endian", pklg(big, 1, report)},
      {"PacketLogger, little-endian", pklg(little, 1, report)},
      {"pcap H4", pcap(little, 187, h4Report)},
      {"pcap H4, big-endian", pcap(big, 187, h4Report)},
      {"pcap H4, nanoseconds", pcap(little, 187, h4Report, true)},
      {"pcap H4 with direction", pcap(little, 201, big(4, 0) + h4Report)},
      {"pcap monitor", pcap(little, 254, hex("0000 0003") + report)},
      {"pcap radio header", pcap(little, 256, radio)},
      {"pcap Nordic", pcap(little, 272, nordic)},
      {"pcapng", pcapng(little, 256, radio)},
      {"pcapng, big-endian", pcapng(big, 256, radio)},
  };
  for (const auto& [what, bytes] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(heard(bytes), theReport);
    EXPECT_EQ(capture->lastRecordTime(), std::chrono::microseconds(micros));
    EXPECT_EQ(warnings, Heard{});
  }
  EXPECT_EQ(heard(pcap(little, 251, pdu)), Heard{"112233445566 random 127 020106"});
}

TEST_F(CaptureOf, PacketsOfOtherKindsHearsNothing) {
  EXPECT_EQ(heard(btsnoop(1001, btsnoopRecord(2, 0, report) + btsnoopRecord(1, 0, report))),
            Heard{});
  EXPECT_EQ(heard(btsnoop(1002, h4(hex("02") + report) + h4({}))), Heard{});
  EXPECT_EQ(heard(btsnoop(2001, btsnoopRecord(2, 0, report))), Heard{});
  EXPECT_EQ(heard(pklg(big, 3, report)), Heard{});
  EXPECT_EQ(heard(pcap(little, 254, hex("0003 0000") + report)), Heard{});
  EXPECT_EQ(warnings, Heard{});
}

TEST_F(CaptureOf, RecordsTellsTheirTimesAndItsProgress) {
  const auto bytes = btsnoop(1002, h4(hex("01030C00"), btsnoopStamp - 5) + h4(h4Report) + h4({}));
  capture = Capture::read(bytes, "walk", warn());
  EXPECT_EQ(capture->firstRecordTime(), std::nullopt);
  EXPECT_EQ(capture->next()->time, std::chrono::microseconds(micros));
  EXPECT_EQ(capture->firstRecordTime(), std::chrono::microseconds(micros - 5));
  EXPECT_NEAR(capture->progress(), 0.76, 0.05);
  EXPECT_EQ(capture->next(), nullptr);
  EXPECT_EQ(capture->progress(), 1.0);
}

TEST_F(CaptureOf, DamagedTimesStaysWithinTheCalendar) {
  heard(btsnoop(1002, h4(h4Report, ~0ULL) + h4(h4Report, 0)));
  EXPECT_EQ(capture->firstRecordTime(), latestTime);
  EXPECT_EQ(capture->lastRecordTime(), earliestTime);
}

TEST_F(CaptureOf, RecordsCutOffAnywhereIsUsedUpToThere) {
  const struct {
    std::ptrdiff_t headerSize;
    Bytes whole;
  } cases[] = {{16, btsnoop(1002, h4(h4Report))},
               {0, pklg(little, 1, report)},
               {24, pcap(little, 187, h4Report)}};
  for (const auto& [headerSize, whole] : cases) {
    for (auto end = whole.begin() + headerSize + 1; end != whole.end(); ++end) {
      warnings.clear();
      EXPECT_EQ(heard(whole + Bytes(whole.begin() + headerSize, end)), theReport);
      EXPECT_EQ(capture->next(), nullptr);
      ASSERT_EQ(warnings.size(), 1U);
      EXPECT_PRED_FORMAT2(IsSubstring, "record at byte " + std::to_string(whole.size()),
                          warnings[0]);
    }
  }
}

TEST_F(CaptureOf, ARecordOfAbsurdLengthIsUsedUpToThere) {
  heard(btsnoop(1002, h4(h4Report) + big(4, 9) + big(4, 0x80000000) + big(16, 0)));
  heard(pklg(big, 1, report) + big(13, 0));
  EXPECT_EQ(warnings,
            (Heard{"walk: the record at byte 58 claims a length of 2147483648 bytes, which "
                   "none has; used up to there",
                   "walk: the record at byte 30 claims a length of 0 bytes, which none "
                   "has; used up to there"}));
}

TEST_F(CaptureOf, WhatCannotBeUsedSaysWhyAndWhatToDo) {
  const struct {
    Bytes bytes;
    const char* message;
  } cases[] = {
      {text("Dear diary, today I walked"),
       "walk: is not a capture of a known format; record or convert it to btsnoop, PacketLogger, "
       "pcap or pcapng"},
      {hex("1F8B0800"), "walk: is compressed; unpack it first"},
      {text("btsn"), "walk: is cut off inside the btsnoop file header; record the capture again"},
      {btsnoop(1003, {}),
       "walk: btsnoop datalink 1003 (HCI BCSP) cannot be read; record HCI H1 (1001), HCI H4 (1002) "
       "or the Linux monitor (2001)"},
      {pcap(little, 1, {}),
       "walk: link type 1 (EN10MB) carries no Bluetooth LE that can be read; record HCI H4 (187, "
       "201), the Linux monitor (254), the LE link layer (251, 256) or Nordic's sniffer (272)"},
  };
  for (const auto& unusable : cases) {
    EXPECT_EQ(refusal([&] { heard(unusable.bytes); }), unusable.message);
  }
  EXPECT_PRED_FORMAT2(IsSubstring, "has a damaged header",
                      refusal([&] { heard(hex("D4C3B2A1 0200")); }));
}

class CaptureFile : public CaptureOf {
 protected:
  CaptureFile() { std::filesystem::create_directory(folder); }
  ~CaptureFile() override { std::filesystem::remove_all(folder); }

  void write(const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  Heard heardFromFile() { return heard(*Capture::open(path, warn())); }

  const std::filesystem::path folder =
      testing::TempDir() + "nimbrel_capture_file_" +
      testing::UnitTest::GetInstance()->current_test_info()->name();
  const std::string path = folder / "walk";
};

TEST_F(CaptureFile, IsReadFromAPipe) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const auto writing = std::async(std::launch::async, [&] { write(btsnoop(1002, h4(h4Report))); });
  EXPECT_EQ(heardFromFile(), theReport);
}

TEST_F(CaptureFile, LongerThanWhatIsKeptInMemoryIsReadToItsEnd) {
  Bytes records;
  const auto record = h4(hex("02") + Bytes(250'000, 0));
  for (int i = 0; i < 80; ++i) records.insert(records.end(), record.begin(), record.end());
  write(btsnoop(1002, records + h4(h4Report)));
  EXPECT_EQ(heardFromFile(), theReport);
}

TEST_F(CaptureFile, ThatCannotBeReadSaysWhy) {
  const auto refused = [&](const std::string& file) {
    return refusal([&] { Capture::open(file, warn()); });
  };
  EXPECT_EQ(refused(path), path + ": no such file; check the path");
  EXPECT_EQ(refused(folder), folder.string() + ": is a directory; name a capture file");
  write({});
  EXPECT_EQ(refused(path), path + ": is empty; record the capture again");
}

}  // namespace
}  // namespace nimbrel
