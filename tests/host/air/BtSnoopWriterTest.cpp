#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>

#include "host/air/BtSnoopWriter.hpp"
#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

constexpr std::chrono::microseconds kTime(1'700'000'000'000'001);

class Recorder : public testing::Test {
 protected:
  ~Recorder() override { std::filesystem::remove(path); }

  void record(const Bytes& data, bool isScanResponse, AddressType type) {
    const DeviceAddress address{{0x11, 0x22, 0x33, 0x44, 0x55, 0x66}, type};
    BtSnoopWriter(path, true).write({kTime, address, -60, isScanResponse, data});
  }
  [[nodiscard]] Bytes file() const {
    std::ifstream stream(path, std::ios::binary);
    return text(std::string(std::istreambuf_iterator<char>(stream), {}));
  }

  // Tests run side by side, each in a process of its own.
  const std::string path = testing::TempDir() + "nimbrel_recorder_" + std::to_string(getpid());
};

TEST_F(Recorder, WritesTheBytesThatOthersRead) {
  const Bytes header = text("btsnoop") + hex("00 00000001 000003EA");
  const auto head = [](const char* size) {
    return hex(size) + hex(size) + hex("00000003 00000000 00E2E7D7274DC001");
  };
  record(hex("020106"), false, AddressType::publicAddress);
  EXPECT_EQ(file(), header + head("00000012") + hex("04 3E0F 0201 0000 665544332211 03020106 C4"));
  record(Bytes(230, 0xAA), true, AddressType::randomAddress);
  const Bytes report = hex("01 665544332211 010100 7F C4 000000000000000000");
  EXPECT_EQ(file(), header + head("00000102") + hex("04 3EFF 0D01 2800") + report + hex("E5") +
                        Bytes(229, 0xAA) + head("0000001E") + hex("04 3E1B 0D01 0800") + report +
                        hex("01 AA"));
}

TEST_F(Recorder, IsReadBackAtEveryBoundOfALength) {
  for (const std::size_t size : {0U, 30U, 31U, 32U, 228U, 229U, 230U, 458U, 459U, 1650U}) {
    Bytes data(size);
    std::iota(data.begin(), data.end(), std::uint8_t{0});
    for (const bool isScanResponse : {false, true}) {
      record(data, isScanResponse, AddressType::randomAddress);
      const auto capture = Capture::open(path, [](const auto& warning) { FAIL() << warning; });
      const auto* const read = capture->next();
      ASSERT_NE(read, nullptr) << size;
      EXPECT_EQ(inWords(*read), std::string("112233445566 random -60 ") +
                                    (isScanResponse ? "response " : "") + toHex(data));
      EXPECT_EQ(read->time, kTime);
      EXPECT_EQ(capture->next(), nullptr);
    }
  }
}

TEST_F(Recorder, ReplacesAFileOnlyWhereItIsTold) {
  record(hex("00"), false, AddressType::publicAddress);
  const auto before = file();
  EXPECT_THROW(BtSnoopWriter(path, false), InputError);
  EXPECT_EQ(file(), before);
  EXPECT_THROW(BtSnoopWriter("/nowhere/file", true), InputError);
}

}  // namespace
}  // namespace nimbrel
