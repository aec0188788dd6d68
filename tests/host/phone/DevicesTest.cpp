#include "host/phone/Devices.hpp"
#include "tests/host/phone/PhoneTest.hpp"

namespace nimbrel::testing_support {
namespace {

using namespace std::chrono_literals;

/// "name|manufacturer data" as scans see them, with "-" for what is absent and "*" if that is
/// new.
class DevicesSeen : public testing::Test {
 protected:
  std::string seen(const Bytes& data, bool isScanResponse = false,
                   const DeviceAddress& address = {}) {
    return inWords(devices.hear(address, AdvertisingData::parse(data), isScanResponse, time));
  }
  std::string inWords(Device& device) {
    const auto visible = devices.visibleManufacturerData(device);
    return std::string(device.name().value_or("-")) + "|" + (visible ? toHex(*visible) : "-") +
           (std::exchange(device.isChanged, false) ? "*" : "");
  }
  static DeviceAddress numbered(std::uint32_t number) {
    DeviceAddress address;
    std::ranges::copy(big(6, number), address.bytes.begin());
    return address;
  }
  static Bytes made(std::string_view digits) { return nimbrel::made(hex(digits)); }

  Devices devices{{}};
  MainQueue::Time time{};
};

TEST_F(DevicesSeen, ByWhatOneReportCarries) {
  const std::tuple<const char*, Bytes, const char*> cases[] = {
      {"nothing", {}, "-|-"},
      {"other structures", hex("020106 03FF4C00 03020F18"), "-|4C00"},
      {"the complete name wins", shortened("Lam") + named("Lamp") + shortened("La"), "Lamp|-"},
      {"the first manufacturer data wins", made("0102") + made("0304"), "-|0102"},
      {"a length of zero ends it", made("0102") + hex("00") + named("Lamp"), "-|0102"},
      {"a structure that overruns is left out", made("0102") + hex("0509 4C61"), "-|0102"},
      {"empty manufacturer data is some", made(""), "-|"},
      {"an empty name is none", named(""), "-|-"},
      {"zeros after the name are padding", named(std::string_view("Lamp\0\0", 6)), "Lamp|-"},
      {"UTF-8", named("Lämpchen \u65e5 \U0001F4A1"), "Lämpchen \u65e5 \U0001F4A1|-"},
      {"a byte that is not UTF-8", named("L\xE4mpchen"), "L\uFFFDmpchen|-"},
      {"a character that is cut", shortened("L\xF0\x9F\x92"), "L\uFFFD\uFFFD\uFFFD|-"},
      {"overlong, surrogate, beyond Unicode", named("\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80"),
       "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD|-"},
  };
  for (const auto& [what, data, expected] : cases) {
    devices = Devices({});
    EXPECT_EQ(seen(data), std::string(expected) + "*") << what;
  }
}

TEST_F(DevicesSeen, PutTogetherFromAdvertisementAndScanResponse) {
  EXPECT_EQ(seen(made("0102")), "-|0102*");
  EXPECT_EQ(seen(named("Lamp"), kScanResponse), "Lamp|0102*");
  EXPECT_EQ(seen(made("0304")), "Lamp|0304*");
  EXPECT_EQ(seen(made("0506"), kScanResponse), "Lamp|0304");
  EXPECT_EQ(seen({}), "Lamp|0506*");
  EXPECT_EQ(seen(made("0506")), "Lamp|0506");
  EXPECT_EQ(seen({}), "Lamp|0506");
  EXPECT_EQ(seen(made("0708"), kScanResponse), "Lamp|0708*");
  EXPECT_EQ(seen({}, kScanResponse), "Lamp|-*") << "removed data is a change";
  EXPECT_EQ(seen({}, kScanResponse), "Lamp|-");
}

TEST_F(DevicesSeen, WithTheDataOfTheScanResponseBehindThatOfTheAdvertisement) {
  devices = Devices({.joinsScanResponse = true});
  EXPECT_EQ(seen(made("0102")), "-|0102*");
  EXPECT_EQ(seen(made("030405"), kScanResponse), "-|0102030405*");
  EXPECT_EQ(seen(made("06")), "-|06030405*");
  EXPECT_EQ(seen({}), "-|030405*");
}

TEST_F(DevicesSeen, WithoutTheIBeaconFramesThatThePhoneWithholds) {
  const std::string frame = toHex(beaconFrame());
  devices = Devices({.joinsScanResponse = true, .withholdsBeacons = true});
  EXPECT_EQ(seen(made(frame)), "-|-*");
  EXPECT_EQ(seen(made("0102"), kScanResponse), "-|0102*");
  EXPECT_EQ(seen(made("0304")), "-|03040102*");
  EXPECT_EQ(seen(made(frame), kScanResponse), "-|0304*");
}

TEST_F(DevicesSeen, UnderTheirOwnNameBeforeThatOfTheResponse) {
  EXPECT_EQ(seen(shortened("La")), "La|-*");
  EXPECT_EQ(seen(named("Lamp"), kScanResponse), "Lamp|-*");
  EXPECT_EQ(seen(shortened("La")), "Lamp|-");
  EXPECT_EQ(seen(named("Torch")), "Torch|-*");
  EXPECT_EQ(seen(named("Lamp"), kScanResponse), "Torch|-");
  EXPECT_EQ(seen(named("Candle")), "Candle|-*");
  EXPECT_EQ(seen({}), "Candle|-");
  EXPECT_EQ(seen(named("Lamp"), kScanResponse), "Lamp|-*");
}

TEST_F(DevicesSeen, AsAWholeWithNothingOfWhatWasKnownBefore) {
  const Bytes data = hex("0304");
  seen(named("Lamp") + made("0102"));
  seen(made("0506"), kScanResponse);
  EXPECT_EQ(inWords(devices.hear({}, "", data, time)), "|0304*");
  EXPECT_EQ(inWords(devices.hear({}, "", data, time)), "|0304");
  EXPECT_EQ(inWords(devices.hear({}, std::nullopt, std::nullopt, time)), "-|-*");
  EXPECT_EQ(seen(shortened("La"), kScanResponse), "La|-*");
}

TEST_F(DevicesSeen, AsNewOnesAfterTenMinutesOfSilence) {
  seen(named("Lamp") + made("0102"));
  time = 10min - 1us;
  EXPECT_EQ(seen({}), "Lamp|-*");
  time += 10min - 1us;
  EXPECT_EQ(seen(made("0102"), kScanResponse), "Lamp|0102*");
  time += 10min;
  EXPECT_EQ(seen({}), "-|-*");
  EXPECT_EQ(devices.everHeard(), 1U);
}

TEST_F(DevicesSeen, LongAgoTakeNoMemoryAndLeaveNoTrace) {
  for (std::uint32_t number = 0; number < 50'000; ++number) {
    time += 1s;
    const bool isNamed = number % 2 == 0;
    ASSERT_EQ(seen(isNamed ? named("Lamp") : Bytes(), false, numbered(number)),
              isNamed ? "Lamp|-*" : "-|-*");
  }
  time += 10min;
  for (std::uint8_t number = 0; number < 3; ++number) {
    seen({}, false, {{0, 0, 0, 0, 0, number}});
  }
  EXPECT_EQ(devices.everHeard(), 50'000U) << "each once";
  EXPECT_LE(devices.remembered(), 2 * 1024U);
}

TEST_F(DevicesSeen, ManyOfThemEachWithItsOwnData) {
  constexpr std::uint32_t kDevices = 3000;
  const auto nameOf = [](std::uint32_t number) {
    return std::to_string(number) + std::string(number % 40, 'x');
  };
  for (std::uint32_t number = 0; number < kDevices; ++number) {
    seen(named(nameOf(number)) + made("0102"), false, numbered(number));
  }
  for (std::uint32_t number = 0; number < kDevices; ++number) {
    ASSERT_EQ(seen(made("0102"), false, numbered(number)), nameOf(number) + "|0102");
  }
  EXPECT_EQ(devices.remembered(), kDevices);
}

TEST_F(DevicesSeen, ApartByAddressAndItsType) {
  const DeviceAddress address{{1, 2, 3, 4, 5, 6}, AddressType::publicAddress};
  seen(named("Lamp"), false, address);
  EXPECT_EQ(seen({}, false, {address.bytes, AddressType::randomAddress}), "-|-*");
  EXPECT_EQ(seen({}, false, {{1, 2, 3, 4, 5, 7}, AddressType::publicAddress}), "-|-*");
  EXPECT_EQ(seen({}, false, address), "Lamp|-");
  EXPECT_EQ(devices.everHeard(), 3U);
}

}  // namespace
}  // namespace nimbrel::testing_support
