#include <gtest/gtest.h>

#include <string>

#include "host/air/LinkLayer.hpp"
#include "host/air/LinkLayerHeaders.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

using Hold = void (*)(std::span<const std::uint8_t> content, Packet& packet);

std::string heard(Hold hold, const std::string& digits) {
  const Bytes content = hex(digits);
  Packet packet;
  hold(content, packet);
  Advertisement advertisement;
  const bool isOne =
      packet.kind == Packet::Kind::advertisingPdu && decodeAdvertisingPdu(packet, advertisement);
  return isOne ? inWords(advertisement) : "nothing";
}

TEST(LinkLayer, HearsWhatAdvertises) {
  struct {
    const char* what;
    const char* pdu;
    const char* expected;
  } const cases[] = {
      {"ADV_IND", "40 09 665544332211 020106 AABBCC", "112233445566 random 127 020106"},
      {"ADV_IND, public", "20 09 665544332211 020106", "112233445566 public 127 020106"},
      {"ADV_NONCONN_IND", "42 06 665544332211", "112233445566 random 127 "},
      {"SCAN_RSP", "44 07 665544332211 00", "112233445566 random 127 response 00"},
      {"ADV_SCAN_IND", "46 07 665544332211 00", "112233445566 random 127 00"},
      {"ADV_DIRECT_IND", "41 0C 665544332211 060504030201", "nothing"},
      {"SCAN_REQ", "43 0C 665544332211 060504030201", "nothing"},
      {"CONNECT_IND", "45 22 665544332211 060504030201", "nothing"},
      {"shorter than it says", "40 1F 665544332211 020106", "112233445566 random 127 020106"},
      {"no room for the address", "40 05 665544332211", "nothing"},
      {"no length", "40", "nothing"},
      {"AUX_ADV_IND", "47 0D 09 09 665544332211 3412 0106", "112233445566 random 127 0106"},
      {"AUX_ADV_IND that goes on", "47 0F 0C 19 665544332211 3412 123456 0106",
       "112233445566 random 127 0106"},
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
  const std::string pdu = "D6BE898E 4006665544332211 AABBCC";
  const std::string codedPdu = "D6BE898E 00 4006665544332211 AABBCC";
  const std::string rest = "25 3C 0000 00000000" + pdu;
  const Hold radio = holdWithRadioHeader;
  const Hold nordic = holdFromNordicSniffer;
  struct {
    const char* what;
    Hold hold;
    std::string digits;
    const char* expected;
  } const cases[] = {
      {"signal", radio, "00 C4 80 00 00000000 0300" + pdu, "112233445566 random -60 "},
      {"no signal", radio, "00 C4 80 00 00000000 0100" + pdu, "112233445566 random 127 "},
      {"right checksum", radio, "00 C4 80 00 00000000 030C" + pdu, "112233445566 random -60 "},
      {"wrong checksum", radio, "00 C4 80 00 00000000 0304" + pdu, "nothing"},
      {"coded PHY", radio, "00 C4 80 00 00000000 0380" + codedPdu, "112233445566 random -60 "},
      {"connection", radio, "00 C4 80 00 00000000 0300 11223344 4006665544332211", "nothing"},
      {"cut", radio, "00 C4 80 00 0000", "nothing"},
      {"version 0", nordic, "FE 06 0100 0000 19 0A 01" + rest, "112233445566 random -60 "},
      {"version 1", nordic, "FE 06 19 01 0100 06 0A 01" + rest, "112233445566 random -60 "},
      {"version 2", nordic, "FE 1900 02 0100 06 0A 01" + rest, "112233445566 random -60 "},
      {"version 3", nordic, "FE 1900 03 0100 02 0A 01" + rest, "112233445566 random -60 "},
      {"coded PHY", nordic, "FE 1A00 03 0100 02 0A 21 25 3C 0000 00000000" + codedPdu,
       "112233445566 random -60 "},
      {"wrong checksum", nordic, "FE 1900 03 0100 02 0A 00" + rest, "nothing"},
      {"not a packet", nordic, "FE 1900 03 0100 05 0A 01" + rest, "nothing"},
      {"no header", nordic, "FE 0000 03 0100 02 00", "nothing"},
      {"cut", nordic, "FE 1900", "nothing"},
  };
  for (const auto& [what, hold, digits, expected] : cases) {
    EXPECT_EQ(heard(hold, digits), expected) << what << ": " << digits;
  }
}

}  // namespace
}  // namespace nimbrel
