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
      const auto [last, isNew] = memory.tryEmplace(identifier);
      EXPECT_EQ(isNew, isFirst) << number;
      EXPECT_EQ(last.timestamp, isFirst ? 0.0 : number);
      last.timestamp = number;
    }
  }
}

}  // namespace
}  // namespace nimbrel
