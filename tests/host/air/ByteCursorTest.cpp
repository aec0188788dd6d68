#include <gtest/gtest.h>

#include "host/air/ByteCursor.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel::testing_support {
namespace {

TEST(ByteCursor, StaysAtTheEndAfterAReadBeyondIt) {
  const Bytes bytes = hex("010203");
  ByteCursor cursor(bytes);
  EXPECT_EQ(cursor.byte(), 1);
  EXPECT_EQ(cursor.takeUpTo(0).size(), 0U);
  EXPECT_TRUE(cursor.ok());
  EXPECT_EQ(cursor.integer<std::uint32_t>(), 0U);
  EXPECT_FALSE(cursor.ok());
  EXPECT_EQ(cursor.byte(), 0) << "not the byte that was left";
}

}  // namespace
}  // namespace nimbrel::testing_support
