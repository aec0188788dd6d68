// The log in the text of an Android bug report: the text, the packed stream, and its records.

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Input.hpp"
#include "host/air/BugReport.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

std::string base64(const Bytes& bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string digits;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const auto byte : bytes) {
    bits = bits << 8U | byte;
    for (count += 8; count >= 6; count -= 6) {
      digits += kDigits[bits >> (count - 6) & 63U];
    }
  }
  return digits + kDigits[bits << (6 - count) & 63U];
}

Bytes reportOf(fuzz::Input input) {
  const auto choice = input.byte();
  Bytes packed = input.rest();
  if (choice % 3 == 0) {
    return text("--- BEGIN:BTSNOOP_LOG_SUMMARY\n") + packed;
  }
  if (choice % 3 == 1) {
    auto size = compressBound(packed.size());
    Bytes stream(size);
    compress(stream.data(), &size, packed.data(), packed.size());
    stream.resize(size);
    packed = Bytes{static_cast<std::uint8_t>(1 + choice % 2)} + little(8, choice) + stream;
  }
  return text("--- BEGIN:BTSNOOP_LOG_SUMMARY\n" + base64(packed) +
              "\n--- END:BTSNOOP_LOG_SUMMARY\n");
}

}  // namespace
}  // namespace nimbrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  const auto bytes = reportOf({data, size});
  try {
    fuzz::require(BugReport::recognises(bytes));
    BugReport report(bytes, "fuzz");
    for (Packet packet; report.next(packet);) {
      fuzz::require(packet.time >= kEarliestTime && packet.time <= kLatestTime);
      fuzz::require(report.position() <= bytes.size());
    }
  } catch (const InputError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
