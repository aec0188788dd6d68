#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/air/BtSnoopWriter.hpp"
#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

class Recorder : public testing::Test {
 protected:
  ~Recorder() override { std::filesystem::remove(path); }

  void record(const Bytes& data, bool isScanResponse, AddressType type) {
    Advertisement advertisement;
    advertisement.time = std::chrono::microseconds(1'700'000'000'000'001);
    advertisement.address = {{0x11, 0x22, 0x33, 0x44, 0x55, 0x66}, type};
    advertisement.rssi = -60;
    advertisement.isScanResponse = isScanResponse;
    advertisement.data = data;
    BtSnoopWriter(path, true).write(advertisement);
  }
  [[nodiscard]] std::string file() const {
    std::ifstream stream(path, std::ios::binary);
    return toHex(text(std::string(std::istreambuf_iterator<char>(stream), {})));
  }

  // Tests run side by side, each in a process of its own.
  const std::string path = testing::TempDir() + "nimbrel_recorder_" + std::to_string(getpid());
};

TEST_F(Recorder, WritesTheBytesThatOthersRead) {
  const std::string header =
      "6274736E6F6F7000"
      "00000001"
      "000003EA";
  const auto head = [](const std::string& size) {
    return size + size +
           "00000003"
           "00000000"
           "00E2E7D7274DC001";
  };
  record(hex("020106"), false, AddressType::publicAddress);
  EXPECT_EQ(file(), header + head("00000012") +
                        "043E0F"
                        "0201"
                        "0000"
                        "665544332211"
                        "03020106"
                        "C4");
  record(Bytes(230, 0xAA), true, AddressType::randomAddress);
  const std::string report =
      "01"
      "665544332211"
      "010100"
      "7F"
      "C4"
      "000000000000000000";
  std::string data;
  for (int i = 0; i < 229; ++i) {
    data += "AA";
  }
  EXPECT_EQ(file(), header + head("00000102") +
                        "043EFF"
                        "0D01"
                        "2800" +
                        report + "E5" + data + head("0000001E") +
                        "043E1B"
                        "0D01"
                        "0800" +
                        report + "01AA");
}

TEST_F(Recorder, IsReadBackAtEveryBoundOfALength) {
  for (const std::size_t size : {0U, 30U, 31U, 32U, 228U, 229U, 230U, 458U, 459U, 1650U}) {
    Bytes data;
    for (std::size_t i = 0; i < size; ++i) {
      data.push_back(static_cast<std::uint8_t>(i));
    }
    for (const bool isScanResponse : {false, true}) {
      record(data, isScanResponse, AddressType::randomAddress);
      const auto capture = Capture::open(path, [](const auto& warning) { FAIL() << warning; });
      const auto* const read = capture->next();
      ASSERT_NE(read, nullptr) << size;
      EXPECT_EQ(inWords(*read), std::string("112233445566 random -60 ") +
                                    (isScanResponse ? "response " : "") + toHex(data));
      EXPECT_EQ(read->time.count(), 1'700'000'000'000'001);
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
