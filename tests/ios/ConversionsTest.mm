#include "ios/nimbrel/Sources/nimbrel/BluetoothConversions.h"
#include "ios/nimbrel/Sources/nimbrel/ChannelConversions.h"
#include "ios/nimbrel/Sources/nimbrel/FoundationConversions.h"
#include "ios/nimbrel/Sources/nimbrel/LocationConversions.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>

namespace nimbrel::ios {
namespace {

const EncodableValue kNull;

EncodableMap mapOf(const EncodableValue& key, const EncodableValue& value) {
  EncodableMap map;
  map.emplace_back(key, value);
  return map;
}

class Conversions : public testing::Test {
 protected:
  ~Conversions() override { [pool_ drain]; }

 private:
  NSAutoreleasePool* pool_ = [[NSAutoreleasePool alloc] init];
};

TEST_F(Conversions, TellEachKindOfObjectApart) {
  const char16_t withNul[] = u"a\0b";
  const std::pair<id, EncodableValue> cases[] = {
      {nil, kNull},
      {[NSNull null], kNull},
      {[NSDate dateWithTimeIntervalSince1970:0], kNull},
      {[NSData dataWithBytes:"a" length:1], kNull},
      {[FlutterStandardTypedData typedDataWithInt32:[NSData dataWithBytes:"abcd" length:4]], kNull},
      {[NSNumber numberWithBool:YES], true},
      {[NSNumber numberWithBool:NO], false},
      {[NSNumber numberWithChar : 1], std::int64_t { 1 }},
      {[NSNumber numberWithInt : 0], std::int64_t { 0 }},
      {[NSNumber numberWithUnsignedInt : UINT_MAX], std::int64_t { UINT_MAX }},
      {[NSNumber numberWithLongLong : LLONG_MIN], std::int64_t { LLONG_MIN }},
      {[NSNumber numberWithUnsignedLongLong : LLONG_MAX], std::int64_t { LLONG_MAX }},
      {[NSNumber numberWithUnsignedLongLong:ULLONG_MAX], 18446744073709551616.0},
      {[NSNumber numberWithDouble:1.0], 1.0},
      {[NSNumber numberWithFloat:-59.0F], -59.0},
      {@"", ""},
      {@"Español 🍎", "Español 🍎"},
      {[NSString stringWithCharacters:reinterpret_cast<const unichar*>(withNul) length:3],
       std::string("a\0b", 3)},
      {[NSArray arrayWithObjects : @"a", [NSNull null], [NSArray array], nil],
       EncodableList { "a", kNull, EncodableList() }},
      {[NSDictionary dictionaryWithObject:@"v" forKey:[NSNumber numberWithInt:7]],
       mapOf(std::int64_t{7}, "v")},
      {[NSDictionary dictionaryWithObject:[NSNull null] forKey:[NSNull null]], mapOf(kNull, kNull)},
  };
  for (const auto& [object, value] : cases) {
    EXPECT_EQ(valueFrom(object), value) << [[object description] UTF8String];
  }
}

TEST_F(Conversions, GiveEveryValueBackAsItWas) {
  const EncodableValue values[] = {
      kNull,
      true,
      false,
      std::int64_t{0},
      std::int64_t{1},
      std::int64_t{INT64_MAX},
      std::int64_t{INT64_MIN},
      0.0,
      1.0,
      -59.0,
      std::string("a\0b", 3),
      "Región 🍎",
      EncodableList{true, std::int64_t{1}, 1.0},
      mapOf(true, mapOf(2.5, kNull)),
  };
  for (const EncodableValue& value : values) {
    EXPECT_EQ(valueFrom(objectFrom(value)), value) << "kind " << value.index();
  }
}

TEST_F(Conversions, KeepDataOfEveryLength) {
  EncodableBytes bytes(300);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    NSData* data = [NSData dataWithBytes:bytes.data() length:length];
    const EncodableValue value(
        EncodableBytes(bytes.begin(), bytes.begin() + static_cast<long>(length)));
    ASSERT_EQ(valueFrom([FlutterStandardTypedData typedDataWithBytes:data]), value);
    FlutterStandardTypedData* typed = objectFrom(value);
    ASSERT_TRUE([typed isKindOfClass:[FlutterStandardTypedData class]]);
    ASSERT_EQ([typed type], FlutterStandardDataTypeUInt8);
    ASSERT_TRUE([[typed data] isEqual:data]);
  }
}

TEST_F(Conversions, ReadBytesThatAreNotUtf8AsLatin1) {
  EXPECT_EQ(textFrom(stringFrom("caf\xE9")), "café");
}

TEST_F(Conversions, KeepAUuidsBytesInTheirOrder) {
  const UUID uuid{{0xE2, 0xC5, 0x6D, 0xB5, 0xDF, 0xFB, 0x48, 0xD2, 0xB0, 0x60, 0xD0, 0xF5, 0xA7,
                   0x10, 0x96, 0xE0}};
  EXPECT_EQ(textFrom([uuidFrom(uuid) UUIDString]), "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0");
  EXPECT_EQ(uuidFrom(uuidFrom(uuid)), uuid);
}

TEST_F(Conversions, TellManufacturerDataFromItsAbsenceAndFromOtherValues) {
  const auto manufacturerData = [](id value) {
    NSDictionary* data =
        value == nil ? [NSDictionary dictionary]
                     : [NSDictionary dictionaryWithObject:value
                                                   forKey:CBAdvertisementDataManufacturerDataKey];
    return advertisementDataFrom(data).manufacturerData;
  };
  EXPECT_TRUE(std::holds_alternative<std::monostate>(manufacturerData(nil)));
  EXPECT_TRUE(
      std::holds_alternative<CBAdvertisementData::NotBytes>(manufacturerData([NSNull null])));
  EXPECT_TRUE(std::holds_alternative<CBAdvertisementData::NotBytes>(manufacturerData(@"4C00")));
  NSData* data = [NSData dataWithBytes:"\x4C\x00\x02" length:3];
  const auto found = manufacturerData(data);
  const auto bytes = std::get<std::span<const std::uint8_t>>(found);
  EXPECT_EQ(bytes.data(), [data bytes]);
  EXPECT_EQ(bytes.size(), 3U);
  EXPECT_TRUE(std::get<std::span<const std::uint8_t>>(manufacturerData([NSData data])).empty());
}

TEST_F(Conversions, KeepTheNoticesOfARegionApart) {
  for (const int one : {0, 1, 2}) {
    CLBeaconRegion region({}, "R");
    region.notifyOnEntry = one == 0;
    region.notifyOnExit = one == 1;
    region.notifyEntryStateOnDisplay = one == 2;
    const PlatformBeaconRegion back(regionFrom(region));
    EXPECT_EQ(back.notifyOnEntry, one == 0);
    EXPECT_EQ(back.notifyOnExit, one == 1);
    EXPECT_EQ(back.notifyEntryStateOnDisplay, one == 2);
  }
}

TEST_F(Conversions, PassARefusalToListenOn) {
  ::FlutterError* error = flutterErrorFrom(FlutterError{"busy", "Ya está en uso"});
  EXPECT_EQ(textFrom(error.code), "busy");
  EXPECT_EQ(textFrom(error.message), "Ya está en uso");
  EXPECT_TRUE(flutterErrorFrom(std::nullopt) == nil);
}

}  // namespace
}  // namespace nimbrel::ios
