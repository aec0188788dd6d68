#include <gtest/gtest.h>

#include <vector>

#include "Classes/bluetooth/BeaconFrame.hpp"

namespace nimbrel {
namespace {

TEST(BeaconFrame, NeedsEachByteOfItsHeaderAndItsWholeLength) {
  const std::pair<std::vector<std::uint8_t>,
                  std::optional<BeaconFrame> (*)(std::span<const std::uint8_t>)>
      cases[] = {{{0x4C, 0x00, 0x02, 0x15}, frames::iBeacon},
                 {{0x18, 0x01, 0xBE, 0xAC}, frames::altBeacon}};
  for (const auto& [header, read] : cases) {
    std::vector<std::uint8_t> frame = header;
    frame.resize(frames::kSize);
    EXPECT_TRUE(read(frame).has_value());
    EXPECT_FALSE(read(std::span(frame).first(frames::kSize - 1)).has_value());
    for (std::size_t index = 0; index < header.size(); ++index) {
      std::vector<std::uint8_t> other = frame;
      other[index] ^= 1U;
      EXPECT_FALSE(read(other).has_value()) << index;
    }
  }
}

}  // namespace
}  // namespace nimbrel
