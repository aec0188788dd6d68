#include <gtest/gtest.h>

#include "Classes/bluetooth/DetectionMemory.hpp"

namespace nimbrel {
namespace {

TEST(DetectionMemory, KeepsTheDetectionOfEachOfManyDevices) {
  DetectionMemory memory;
  for (const bool isFirst : {true, false}) {
    for (int number = 0; number < 1000; ++number) {
      UUID identifier;
      identifier.bytes[0] = static_cast<std::uint8_t>(number % 256);
      identifier.bytes[15] = static_cast<std::uint8_t>(number / 256);
      const auto [last, isNew] =
          memory.tryEmplace(UuidText(identifier), {isFirst ? number : -1.0, -60.0});
      EXPECT_EQ(isNew, isFirst) << number;
      EXPECT_EQ(last.timestamp, number);
    }
  }
}

}  // namespace
}  // namespace nimbrel
