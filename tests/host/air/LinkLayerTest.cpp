#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "host/air/LinkLayer.hpp"
#include "host/air/LinkLayerHeaders.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

using Hold = void (*)(std::span<const std::uint8_t> content, Packet& packet);

std::string heard(Hold hold, const std::string& digits, bool isCut = false) {
  const Bytes content = hex(digits);
  Packet packet;
  packet.isCut = isCut;
  hold(content, packet);
  Advertisement advertisement;
  if (packet.kind == Packet::Kind::damagedPdu) {
    return "damaged";
  }
  LinkLayer linkLayer;
  linkLayer.begin(packet);
  const bool isOne = packet.kind == Packet::Kind::advertisingPdu && linkLayer.next(advertisement);
  return isOne ? inWords(advertisement) : "nothing";
}

TEST(LinkLayer, HearsWhatAdvertises) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"ADV_IND", "40 09 665544332211 020106", "112233445566 random 127 020106"},
      {"ADV_IND, public", "20 09 665544332211 020106", "112233445566 public 127 020106"},
      {"ADV_NONCONN_IND", "42 06 665544332211", "112233445566 random 127 "},
      {"SCAN_RSP", "44 07 665544332211 00", "112233445566 random 127 response 00"},
      {"ADV_SCAN_IND", "46 07 665544332211 00", "112233445566 random 127 00"},
      {"ADV_DIRECT_IND", "41 0C 665544332211 060504030201", "nothing"},
      {"SCAN_REQ", "43 0C 665544332211 060504030201", "nothing"},
      {"CONNECT_IND", "45 0C 665544332211 060504030201", "nothing"},
      {"shorter than it says", "40 1F 665544332211 020106", "damaged"},
      {"no room for the address", "40 05 6655443322", "nothing"},
      {"no length", "40", "damaged"},
      {"AUX_ADV_IND", "47 0C 09 09 665544332211 3412 0106", "112233445566 random 127 0106"},
      {"AUX_ADV_IND that points to nothing", "47 0F 0C 19 665544332211 3412 120000 0106",
       "112233445566 random 127 0106"},
      {"AUX_ADV_IND that goes on", "47 0F 0C 19 665544332211 3412 123456 0106", "nothing"},
      {"ADV_EXT_IND, data elsewhere", "47 0D 0C 19 665544332211 3412 123456", "nothing"},
      {"ADV_EXT_IND, all elsewhere", "07 07 06 18 3412 123456", "nothing"},
      {"ADV_EXT_IND, no data", "47 08 07 01 665544332211", "112233445566 random 127 "},
      {"AUX_CHAIN_IND", "07 07 03 08 3412 020106", "nothing"},
      {"directed AUX_ADV_IND", "47 10 0D 03 665544332211 060504030201 0106", "nothing"},
      {"extended header that overruns", "47 05 3F 01 665544", "nothing"},
  };
  for (const auto& [what, pdu, expected] : cases) {
    EXPECT_EQ(heard(holdLinkLayer, std::string("D6BE898E") + pdu), expected) << what;
  }
}

TEST(LinkLayer, GoesByTheHeadersOfSniffers) {
  const std::string pdu = "D6BE898E 4006665544332211 FD6B2A";
  const std::string wrong = "D6BE898E 4006665544332211 FD6B2B";
  const std::string codedPdu = "D6BE898E 00 4006665544332211 FD6B2A";
  const std::string rest = "25 3C 0000 00000000" + pdu;
  const char* const heard60 = "112233445566 random -60 ";
  const char* const heard127 = "112233445566 random 127 ";
  const Hold radio = holdWithRadioHeader;
  const Hold nordic = holdFromNordicSniffer;
  const std::tuple<const char*, Hold, std::string, const char*> cases[] = {
      {"signal", radio, "00 C4 80 00 00000000 0300" + pdu, heard60},
      {"no signal", radio, "00 C4 80 00 00000000 0100" + pdu, heard127},
      {"right checksum", radio, "00 C4 80 00 00000000 030C" + pdu, heard60},
      {"wrong checksum", radio, "00 C4 80 00 00000000 0304" + pdu, "damaged"},
      {"not checked, but wrong", radio, "00 C4 80 00 00000000 0300" + wrong, "damaged"},
      {"said to be checked, but not", radio, "00 C4 80 00 00000000 0308" + wrong, "damaged"},
      {"checked where it was received", radio, "00 C4 80 00 00000000 030C" + wrong, heard60},
      {"coded PHY", radio, "00 C4 80 00 00000000 0380" + codedPdu, heard60},
      {"connection", radio, "00 C4 80 00 00000000 0300 11223344 4006665544332211", "nothing"},
      {"cut", radio, "00 C4 80 00 0000", "nothing"},
      {"version 0", nordic, "FE 06 0100 0000 19 0A 01" + rest, heard60},
      {"version 1", nordic, "FE 06 19 01 0100 06 0A 01" + rest, heard60},
      {"version 2", nordic, "FE 1900 02 0100 06 0A 01" + rest, heard60},
      {"version 3", nordic, "FE 1900 03 0100 02 0A 01" + rest, heard60},
      {"coded PHY", nordic, "FE 1A00 03 0100 02 0A 21 25 3C 0000 00000000" + codedPdu, heard60},
      {"wrong checksum", nordic, "FE 1900 03 0100 02 0A 00" + rest, "damaged"},
      {"no type, in version 2", nordic, "FE 1900 02 0100 00 0A 01" + rest, heard60},
      {"no type, in version 3", nordic, "FE 1900 03 0100 00 0A 01" + rest, "nothing"},
      {"no signal", nordic, "FE 1900 02 0100 00 0A 01 25 00 0000 00000000" + pdu, heard127},
      {"longer header", nordic, "FE 1900 02 0100 06 0B 01 25 3C 0000 00000000 FF" + pdu, heard60},
      {"not a packet", nordic, "FE 1900 03 0100 05 0A 01" + rest, "nothing"},
      {"no header", nordic, "FE 0000 03 0100 02 00", "nothing"},
      {"cut", nordic, "FE 1900", "nothing"},
  };
  for (const auto& [what, hold, digits, expected] : cases) {
    EXPECT_EQ(heard(hold, digits), expected) << what << ": " << digits;
  }
}

TEST(LinkLayer, ComparesTheChecksumWhereThereIsOne) {
  const std::string pdu = "D6BE898E 440A66554433221104095A5A";
  const std::string is = "112233445566 random 127 response 04095A5A";
  const std::tuple<std::string, bool, std::string> cases[] = {
      {pdu + "76B9E3", false, is},
      {pdu + "76B9E3 00", false, is},
      {pdu + "76B9E2", false, "damaged"},
      {pdu + "77B9E3", true, "damaged"},
      {"D6BE898E 440A66554433221104095A5B 76B9E3", false, "damaged"},
      {"D6BE898E 460A66554433221104095A5A 76B9E3", false, "damaged"},
      {pdu, false, is},  // stripped
      {pdu + "76B9", false, "damaged"},
      {pdu + "76B9", true, is},
      {"D6BE898E 440A66554433221104095A", true, "112233445566 random 127 response 04095A"},
      {"D6BE898E 440A66554433221104095A", false, "damaged"},
  };
  for (const auto& [digits, isCut, expected] : cases) {
    EXPECT_EQ(heard(holdLinkLayer, digits, isCut), expected) << digits << isCut;
  }
}

class ExtendedAdvertising : public testing::Test {
 protected:
  using Heard = std::vector<std::string>;

  /// A PDU heard at that millisecond on a channel.
  Heard heard(double millisecond, const std::string& pdu, std::uint8_t channel = 18,
              bool isScanResponse = false) {
    content = hex(pdu);
    Packet packet;
    packet.kind = Packet::Kind::advertisingPdu;
    packet.time = std::chrono::microseconds(static_cast<std::int64_t>(millisecond * 1000));
    packet.data = content;
    packet.rssi = static_cast<std::int8_t>(-50 - pdus++);
    packet.channel = channel;
    packet.isScanResponse = isScanResponse;
    linkLayer.begin(packet);
    return rest();
  }
  Heard heardAtTheEnd() {
    linkLayer.end();
    return rest();
  }
  Heard rest() {
    Heard lines;
    for (Advertisement advertisement; linkLayer.next(advertisement);) {
      lines.push_back(std::to_string(advertisement.time.count() / 1000) + ": " +
                      inWords(advertisement));
    }
    return lines;
  }

  // Of the set 3412, with pointers to the channel 18, 3 ms later.
  const std::string start = "47 0D 0C 19 665544332211 3412 126400";
  const std::string auxiliary = "07 09 06 18 3412 126400 0106";
  const std::string addressed = "47 0F 0C 19 665544332211 3412 126400 0106";
  const std::string chained = "07 09 06 18 3412 126400 AAAA";
  const std::string last = "07 06 03 08 3412 BBBB";
  const std::string nobody = "42 06 060504030201";
  Bytes content;
  int pdus = 0;
  LinkLayer linkLayer;
};

TEST_F(ExtendedAdvertising, IsPutTogetherAlongItsPointers) {
  EXPECT_EQ(heard(0, start, 37), Heard{});
  EXPECT_EQ(heard(1, start, 38), Heard{}) << "once more, on the next channel";
  EXPECT_EQ(heard(4, auxiliary), Heard{});
  EXPECT_EQ(heard(7, chained), Heard{});
  EXPECT_EQ(heard(10, last), Heard{"10: 112233445566 random -54 0106AAAABBBB"});
  EXPECT_EQ(heard(10, last), Heard{}) << "nothing points to it any more";
  EXPECT_EQ(heard(20, addressed), Heard{});
  EXPECT_EQ(heard(23, last), Heard{"23: 112233445566 random -57 0106BBBB"});
  EXPECT_EQ(heard(30, start, 37), Heard{});
  EXPECT_EQ(heard(33, last, 18, true), Heard{"33: 112233445566 random -59 response BBBB"});
  EXPECT_EQ(heard(40, "47 11 0C 19 665544332211 3412 126400 0106"),
            Heard{"40: 112233445566 random -60 0106"})
      << "cut by the recorder: with the rest, it would have a gap";
  EXPECT_EQ(heard(43, last), Heard{});
  EXPECT_EQ(heardAtTheEnd(), Heard{});
}

TEST_F(ExtendedAdvertising, IsPutTogetherOnlyWhereThePointerLeads) {
  const std::string other = "07 05 03 08 3512 BB";
  const std::tuple<const char*, double, std::string, std::uint8_t, bool> cases[] = {
      {"another set", 3, other, 18, false},
      {"no set", 3, "07 03 00 BBBB", 18, false},
      {"another channel", 3, last, 17, false},
      {"a channel that nobody said", 3, last, 0xFF, true},
      {"a primary channel, as of a recorder that knows no others", 3, last, 37, true},
      {"a set, at another time", 90, last, 18, true},
      {"directed", 3, "07 0C 09 0A 060504030201 3412 BB", 18, false},
      {"behind a field of another kind", 3, "07 07 04 0C 99 3412 BBBB", 18, true},
      {"cut header", 3, "07 06 09 18 3412 BBBB", 18, false},
  };
  for (const auto& [what, time, pdu, channel, isJoined] : cases) {
    linkLayer = {};
    heard(0, addressed);
    EXPECT_EQ(heard(time, pdu, channel).size(), isJoined ? 1U : 0U) << what;
  }
  const std::string withoutSet = "47 0C 0A 11 665544332211 126400 0106";
  for (const auto& [time, isJoined] : {std::pair(7.9, true), std::pair(8.1, false)}) {
    linkLayer = {};
    heard(0, withoutSet);
    EXPECT_EQ(heard(time, "07 03 00 BBBB").size(), isJoined ? 1U : 0U) << time;
  }
}

TEST_F(ExtendedAdvertising, TakesThePointerNearestInTime) {
  heard(0, "47 0E 0C 19 000000000001 3412 126400 01");  // to 3 ms
  heard(1, "47 0E 0C 19 000000000002 3412 926400 02");  // in units of 300 us: to 31 ms
  EXPECT_EQ(heard(30, last).at(0).substr(0, 16), "30: 020000000000");
  EXPECT_EQ(heard(31, last).at(0).substr(0, 16), "31: 010000000000");
}

TEST_F(ExtendedAdvertising, WhoseRestIsLostIsReturnedAsFarAsItWasHeard) {
  const Heard broken{"0: 112233445566 random -50 0106"};
  heard(0, addressed);
  EXPECT_EQ(heard(103, "03 0C"), Heard{});
  EXPECT_EQ(heard(103.1, nobody), (Heard{broken[0], "103: 010203040506 random -52 "}));
  pdus = 0;
  heard(0, addressed);
  EXPECT_EQ(heardAtTheEnd(), broken);
  pdus = 0;
  heard(0, addressed);
  EXPECT_EQ(heard(50, addressed), broken) << "as the next one begins";
  EXPECT_EQ(heard(-950, "03 0C"), Heard{});
  EXPECT_EQ(heard(-951, "03 0C"), Heard{"50: 112233445566 random -51 0106"})
      << "as the clock is set back";
  pdus = 0;
  heard(0, "47 0F 0C 19 665544332211 3412 92FF1F 0106");  // to 2.5 s
  EXPECT_EQ(heard(900, "03 0C"), Heard{});
  EXPECT_EQ(heard(900.1, "03 0C"), broken) << "a replay waits no longer";
  heard(0, start);
  EXPECT_EQ(heardAtTheEnd(), Heard{}) << "nothing was heard of it";
  heard(0, start);
  heard(3000, "03 0C");
  EXPECT_EQ(heard(3000, last).size(), 1U);
  heard(0, start);
  heard(3000.1, "03 0C");
  EXPECT_EQ(heard(3000.1, last), Heard{});
}

TEST_F(ExtendedAdvertising, TakesNoMoreMemoryThanSomeMayHave) {
  for (unsigned i = 0; i < 64; ++i) {
    EXPECT_EQ(heard(0, "47 0F 0C 19 7755443322" + toHex(little(1, i)) + " 3412 126400 0106"),
              Heard{});
  }
  EXPECT_EQ(heard(0, addressed).at(0).substr(0, 15), "0: 002233445577");
  linkLayer = {};
  pdus = 0;
  heard(0, addressed);
  for (int i = 0; i < 9; ++i) {
    heard(0, "07 D4 06 18 3412 126400" + std::string(410, 'A'));
  }
  EXPECT_EQ(heard(0, last).at(0).size(), std::string("0: 112233445566 random -50 ").size() + 3300);
}

TEST(LinkLayer, KnowsChannelsAndAnswersFromTheHeaders) {
  const std::string pdu = "D6BE898E 4006665544332211 FD6B2A";
  const std::tuple<Hold, std::string, int, bool> cases[] = {
      {holdWithRadioHeader, "00 C4 80 00 00000000 8330", 37, true},
      {holdWithRadioHeader, "01 C4 80 00 00000000 8320", 0, false},
      {holdWithRadioHeader, "0B C4 80 00 00000000 0330", 10, false},
      {holdWithRadioHeader, "0C C4 80 00 00000000 0331", 38, false},
      {holdWithRadioHeader, "0D C4 80 00 00000000 8331", 11, false},
      {holdWithRadioHeader, "26 C4 80 00 00000000 0300", 36, false},
      {holdWithRadioHeader, "27 C4 80 00 00000000 0300", 39, false},
      {holdFromNordicSniffer, "FE 1900 03 0100 02 0A 07 12 3C 0000 00000000", 18, true},
      {holdFromNordicSniffer, "FE 1900 03 0100 02 0A 05 12 3C 0000 00000000", 18, false},
      {holdFromNordicSniffer, "FE 1900 02 0100 06 0A 07 25 3C 0000 00000000", 37, false},
      {holdLinkLayer, "", 255, false},
  };
  for (const auto& [hold, digits, channel, isScanResponse] : cases) {
    const Bytes content = hex(digits + pdu);
    Packet packet;
    hold(content, packet);
    EXPECT_EQ(packet.channel, channel) << digits;
    EXPECT_EQ(packet.isScanResponse, isScanResponse) << digits;
  }
}

}  // namespace
}  // namespace nimbrel
