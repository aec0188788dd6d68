#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>

#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Bytes.hpp"
#include "tests/support/Conversions.hpp"

namespace nimbrel {
namespace {

using testing::IsSubstring;
using Heard = std::vector<std::string>;

constexpr std::uint64_t kSecond = 1'700'000'000;
constexpr std::uint64_t kMicros = kSecond * 1'000'000 + 250'000;
constexpr std::uint64_t kBtsnoopStamp = 0x00DCDDB30F2F8000 + kMicros;

const Bytes kReport = event(hex("02 01 00 01 665544332211 03 020106 C4"));
const Bytes kH4Report = hex("04") + kReport;
const Heard kTheReport{"112233445566 random -60 020106"};
const Bytes kPdu = hex("D6BE898E 4009665544332211020106 D880E1");
const Bytes kWrongPdu = hex("D6BE898E 4009665544332211020106 D880E0");

Bytes h4(const Bytes& packet, std::uint64_t stamp = kBtsnoopStamp) {
  return btsnoopRecord(3, stamp, packet);
}

Bytes pcap(Number number, std::uint32_t linkType, const Bytes& packet) {
  return pcapHeader(number, linkType) + pcapRecord(number, kSecond, 250'000, packet);
}

Bytes pcapng(Number number, std::uint32_t linkType, const Bytes& packet) {
  return section(number) + interfaceBlock(number, linkType) +
         packetBlock(number, 0, kMicros, packet);
}

Bytes pklg(Number number, std::uint8_t type, const Bytes& packet) {
  return number(4, packet.size() + 9) + number(4, kSecond) + number(4, 250'000) + little(1, type) +
         packet;
}

class CaptureOf : public testing::Test {
 protected:
  Capture::WarningHandler warn() {
    return [this](const std::string& warning) { warnings.push_back(warning); };
  }
  static Heard heard(Capture& capture) {
    Heard lines;
    while (const auto* advertisement = capture.next()) {
      lines.push_back(inWords(*advertisement));
    }
    return lines;
  }
  Heard heard(const Bytes& bytes) {
    content = bytes;
    capture = Capture::read(content, "walk", warn());
    Heard lines = heard(*capture);
    if (!lines.empty()) {
      testing_support::expectFaithfulConversions(content);
    }
    return lines;
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
  const Bytes radio = hex("00 C4 80 00 00000000 0300") + kPdu;
  const Bytes nordic = hex("FE 1C00 02 0100 06 0A 01 25 3C 0000 00000000") + kPdu;
  const Bytes usb = hex("0000000000000000 43 01 81 02 0100 2D 00") + Bytes(2, 0);
  const std::pair<const char*, Bytes> cases[] = {
      {"btsnoop H1", btsnoop(1001, btsnoopRecord(3, kBtsnoopStamp, kReport))},
      {"btsnoop H4", btsnoop(1002, h4(kH4Report))},
      {"btsnoop monitor", btsnoop(2001, btsnoopRecord(0x10003, kBtsnoopStamp, kReport))},
      {"PacketLogger, big-endian", pklg(big, 1, kReport)},
      {"PacketLogger, little-endian", pklg(little, 1, kReport)},
      {"pcap H4", pcap(little, 187, kH4Report)},
      {"pcap H4, big-endian", pcap(big, 187, kH4Report)},
      {"pcap H4, nanoseconds",
       pcapHeader(little, 187, 0xA1B23C4D) + pcapRecord(little, kSecond, 250'000'999, kH4Report)},
      {"pcap H4 with direction", pcap(little, 201, big(4, 0) + kH4Report)},
      {"pcap monitor", pcap(little, 254, hex("0000 0003") + kReport)},
      {"pcap USB of Linux", pcap(little, 189, usb + Bytes(30, 0) + kReport)},
      {"pcap USB of Linux, mapped", pcap(little, 220, usb + Bytes(46, 0) + kReport)},
      {"pcap USB of Windows",
       pcap(little, 249,
            hex("1B00 0000000000000000 00000000 0900 01 0100 0200 81 01 11000000") + kReport)},
      {"pcap radio header", pcap(little, 256, radio)},
      {"pcap Nordic", pcap(little, 272, nordic)},
      {"pcapng", pcapng(little, 256, radio)},
      {"pcapng, big-endian", pcapng(big, 256, radio)},
  };
  for (const auto& [what, bytes] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(heard(bytes), kTheReport);
    EXPECT_EQ(capture->lastRecordTime(), std::chrono::microseconds(kMicros));
    EXPECT_EQ(warnings, Heard{});
  }
  const Heard noStrength{"112233445566 random 127 020106"};
  EXPECT_EQ(heard(pcap(little, 251, kPdu)), noStrength);
  EXPECT_EQ(heard(pcap(big, 192, hex("0000 1000 FB000000 36750400AABBCCDD") + kPdu)), noStrength);
}

TEST_F(CaptureOf, PacketsOfOtherKindsHearsNothing) {
  EXPECT_EQ(heard(btsnoop(1001, btsnoopRecord(2, 0, kReport) + btsnoopRecord(1, 0, kReport))),
            Heard{});
  EXPECT_EQ(heard(btsnoop(1002, h4(hex("02") + kReport) + h4({}))), Heard{});
  EXPECT_EQ(heard(btsnoop(2001, btsnoopRecord(2, 0, kReport))), Heard{});
  EXPECT_EQ(heard(pklg(big, 3, kReport)), Heard{});
  EXPECT_EQ(heard(pcap(little, 254, hex("0003 0000") + kReport)), Heard{});
  EXPECT_EQ(warnings, Heard{});
}

TEST_F(CaptureOf, RecordsTellsTheirTimesAndItsProgress) {
  const auto bytes = btsnoop(1002, h4(hex("01030C00"), kBtsnoopStamp - 5) + h4(kH4Report) + h4({}));
  capture = Capture::read(bytes, "walk", warn());
  EXPECT_EQ(capture->firstRecordTime(), std::nullopt);
  EXPECT_EQ(capture->next()->time, std::chrono::microseconds(kMicros));
  EXPECT_EQ(capture->firstRecordTime(), std::chrono::microseconds(kMicros - 5));
  EXPECT_NEAR(capture->progress(), 0.76, 0.05);
  EXPECT_EQ(capture->next(), nullptr);
  EXPECT_EQ(capture->progress(), 1.0);
}

TEST_F(CaptureOf, DamagedTimesStaysWithinTheCalendar) {
  heard(btsnoop(1002, h4(kH4Report, ~0ULL) + h4(kH4Report, 0)));
  EXPECT_EQ(capture->firstRecordTime(), kLatestTime);
  EXPECT_EQ(capture->lastRecordTime(), kEarliestTime);
}

TEST_F(CaptureOf, RecordsCutOffAnywhereIsUsedUpToThere) {
  const std::pair<std::ptrdiff_t, Bytes> cases[] = {{16, btsnoop(1002, h4(kH4Report))},
                                                    {0, pklg(little, 1, kReport)},
                                                    {24, pcap(little, 187, kH4Report)}};
  for (const auto& [headerSize, whole] : cases) {
    for (auto end = whole.begin() + headerSize + 1; end != whole.end(); ++end) {
      warnings.clear();
      EXPECT_EQ(heard(whole + Bytes(whole.begin() + headerSize, end)), kTheReport);
      EXPECT_EQ(capture->next(), nullptr);
      ASSERT_EQ(warnings.size(), 1U);
      EXPECT_PRED_FORMAT2(IsSubstring, "record at byte " + std::to_string(whole.size()),
                          warnings[0]);
    }
  }
}

TEST_F(CaptureOf, ARecordOfAbsurdLengthIsUsedUpToThere) {
  heard(btsnoop(1002, h4(kH4Report) + big(4, 9) + big(4, 0x80000000) + big(16, 0)));
  heard(pklg(big, 1, kReport) + pklg(big, 1, kReport) + big(13, 0));
  EXPECT_EQ(warnings,
            (Heard{"walk: the record at byte 58 claims a length of 2147483648 bytes, which "
                   "none has; used up to there",
                   "walk: the record at byte 60 claims a length of 0 bytes, which none "
                   "has; used up to there"}));
}

TEST_F(CaptureOf, WhatCannotBeUsedSaysWhyAndWhatToDo) {
  const std::string known = "; record or convert it to btsnoop, PacketLogger, pcap or pcapng";
  const Bytes dumped = hex("0600 01 00 00F15365 00000000 04 0E 03 AABBCC");
  const std::string advice =
      " holds no Bluetooth LE that can be read; record a Bluetooth adapter, a Bluetooth "
      "controller's USB or a Bluetooth LE sniffer";
  const std::pair<Bytes, std::string> cases[] = {
      {text("Dear diary,\ntoday I walked\xE2\x80\xA6"), "is a text, not a recording" + known},
      {text("> HCI Event: LE Meta Event (0x3e) plen 26"),
       "is a log that a program printed; record packets themselves (btmon --write)"},
      {hex("FFD8FFE0 0010"), "is a JPEG picture, not a recording" + known},
      {hex("377ABCAF271C 0004"),
       "is a 7-Zip archive, not a recording; unpack it and name the recording in it"},
      {dumped + dumped + hex("0400 00 00 00F15365 3F420F00 01030C00"),
       "is a recording of hcidump, which cannot be read; convert it (editcap -F btsnoop FILE NEW), "
       "or record with btmon --write"},
      {dumped + dumped + hex("0400 00 00 00F15365 40420F00 01030C00"),
       "is not a capture of a known format" + known},
      {hex("01030C00 02 0100 0200 AABB 04 0E 01 00"),
       "holds HCI packets without their times; record with btmon --write, which keeps them"},
      {hex("01030C00 02 0100 0200 AABB 04 0E 02 00"), "is not a capture of a known format" + known},
      {text("btsn"), "is cut off inside the btsnoop file header; record the capture again"},
      {btsnoop(1003, {}),
       "btsnoop datalink 1003 (HCI BCSP) cannot be read; record HCI H1 (1001), HCI H4 (1002) or "
       "the Linux monitor (2001)"},
      {text("btsnoop") + hex("00 00000002 000003EA"),
       "btsnoop version 2 is not known; convert the file to version 1"},
      // One head that could be of PacketLogger, with a record that ends beyond the file or where
      // none follows.
      {pklg(little, 1, kReport) + text("no record at all"),
       "is not a capture of a known format" + known},
      {hex("29000100 00F15365 70170000 043E"), "is not a capture of a known format" + known},
      {hex("D4C3B2A1 0200"), "is cut off inside the pcap file header; record the capture again"},
      {hex("D4C3B2A1 0300") + Bytes(18, 0),
       "pcap version 3 is not known; convert the file to version 2"},
      {hex("0A0D0D0A 1C000000"), "has a damaged pcapng header; record the capture again"},
      {pcap(little, 1, {}), "is a recording of Ethernet (link type 1), which" + advice},
      {pcap(little, 300, {}), "is a recording of link type 300, which" + advice},
      {pcap(little, 160, {}), "is a recording of a private format (link type 160), which" + advice},
      {pcap(little, 192, hex("0000 0800 69000000")),
       "is a recording of Wi-Fi (link type 105), which" + advice},
      {pcapng(big, 255, {}), "is a recording of Bluetooth BR/EDR (link type 255), which" + advice},
  };
  for (const auto& [bytes, message] : cases) {
    EXPECT_EQ(refusal([&, &unusable = bytes] { heard(unusable); }), "walk: " + message);
  }
}

TEST_F(CaptureOf, ASilentRecordingSaysWhatToDo) {
  const std::string none = "holds no Bluetooth LE advertisement";
  const std::pair<Bytes, std::string> cases[] = {
      {btsnoop(1002, h4(hex("01030C00"))), none + "; record while a scan runs"},
      {btsnoop(1002, h4(hex("01030C00")) + hex("00")),
       none + " before the damage; record the capture again"},
      {btsnoop(1002, {}), "holds no packet; record the capture again"},
      {pcap(little, 251, hex("11223344 0000")),
       none + "; have the sniffer listen to the advertising channels, near to what advertises"},
      {pcap(little, 272, {}),
       none + "; have the sniffer listen to the advertising channels, near to what advertises"},
      {pcap(little, 251, kWrongPdu),
       none + " with a right checksum, and 1 with a wrong one; put the sniffer nearer to what "
              "advertises"},
      {pcap(little, 220, {}), "is a recording of USB, and " + none +
                                  "; record the USB of a Bluetooth controller while a scan runs"},
  };
  for (const auto& [bytes, expected] : cases) {
    EXPECT_EQ(heard(bytes), Heard{});
    EXPECT_EQ(capture->silence(), expected);
  }
}

TEST_F(CaptureOf, PacketsWithAWrongChecksumCountsThem) {
  const auto record = [](const Bytes& packet) { return pcapRecord(little, kSecond, 0, packet); };
  EXPECT_EQ(heard(pcapHeader(little, 251) + record(kWrongPdu) + record(kPdu) + record(kWrongPdu)),
            Heard{"112233445566 random 127 020106"});
  EXPECT_EQ(capture->damagedPackets(), 2U);
}

class CaptureFile : public CaptureOf {
 protected:
  CaptureFile() { std::filesystem::create_directory(folder); }
  ~CaptureFile() override { std::filesystem::remove_all(folder); }

  void write(const Bytes& bytes) {
    std::ofstream(path, std::ios::binary) << std::string(bytes.begin(), bytes.end());
  }
  Heard heardFromFile() { return heard(*Capture::open(path, warn())); }

  const std::filesystem::path folder =
      testing::TempDir() + "nimbrel_capture_file_" +
      testing::UnitTest::GetInstance()->current_test_info()->name();
  const std::string path = folder / "walk";
};

TEST_F(CaptureFile, IsReadFromAPipe) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const auto writing = std::async(std::launch::async, [&] { write(btsnoop(1002, h4(kH4Report))); });
  EXPECT_EQ(heardFromFile(), kTheReport);
}

TEST_F(CaptureFile, LongerThanWhatIsKeptInMemoryIsReadToItsEnd) {
  Bytes records;
  for (int i = 0; i < 80; ++i) {
    records = std::move(records) + h4(hex("02") + Bytes(250'000, 0));
  }
  write(btsnoop(1002, records + h4(kH4Report)));
  EXPECT_EQ(heardFromFile(), kTheReport);
}

TEST_F(CaptureFile, ThatIsShortenedWhileItIsReadEndsTheReading) {
  const auto record = h4(hex("02") + Bytes(65'536, 0));
  for (const std::uintmax_t left : {100'000U, 196'716U}) {  // pages are gone; only some bytes
    write(btsnoop(1002, record + record + record + h4(kH4Report)));
    const auto shortened = Capture::open(path, warn());
    std::filesystem::resize_file(path, left);
    try {
      heard(*shortened);
      FAIL() << "read to its end";
    } catch (const InputError&) {
      FAIL() << "taken for damage";
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(error.what(),
                path + ": was shortened while it was read; scan a copy, or once it is whole");
    }
  }
  EXPECT_EQ(warnings, Heard{});
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
