// Every format of captures, but for archives and bug reports.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "fuzz/Input.hpp"
#include "host/air/Archive.hpp"
#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

using fuzz::Input;
using fuzz::require;

constexpr std::array<std::uint32_t, 10> kLinkTypes{187, 189, 192, 201, 220,
                                                   249, 251, 254, 256, 272};

Bytes pcapNg(Number number, Input& input) {
  Bytes file = section(number);
  while (!input.isEmpty()) {
    const auto kind = input.byte();
    const Bytes content = input.bytes();
    if (kind < 64) {
      file = file + interfaceBlock(number, kLinkTypes[kind % kLinkTypes.size()], content);
    } else if (kind < 192) {
      file = file + packetBlock(number, kind % 2, std::uint64_t{kind} << 20U, content);
    } else {
      file = file + block(number, kind % 8, content);
    }
  }
  return file;
}

/// The first byte chooses what is put around the others: nothing, the header of a file, or also
/// those of whole records, so that the inner formats are reached as soon as the outer ones.
Bytes captureOf(Input input) {
  constexpr std::array<std::uint32_t, 3> kDatalinks{1001, 1002, 2001};
  const unsigned choice = input.byte();
  const auto records = [&](const auto& recordOf) {
    Bytes all;
    while (!input.isEmpty()) {
      all = all + recordOf(input.bytes());
    }
    return all;
  };
  if (choice < kDatalinks.size()) {
    return btsnoop(kDatalinks[choice],
                   records([](const Bytes& packet) { return btsnoopRecord(3, 0, packet); }));
  }
  if (choice >= 16 && choice < 16 + 2 * kLinkTypes.size()) {
    const Number number = choice % 2 == 0 ? Number(little) : Number(big);
    std::uint64_t time = 0;
    return pcapHeader(number, kLinkTypes[(choice - 16) / 2]) + records([&](const Bytes& packet) {
             return pcapRecord(number, 0, time += 1000, packet);
           });
  }
  switch (choice) {
    case 64:
      return pcapNg(little, input);
    case 65:
      return pcapNg(big, input);
    case 66:
      return records([](const Bytes& packet) {
        return little(4, packet.size() + 9) + little(8, 0) + Bytes{1} + packet;
      });
    case 67:
      return pcapHeader(little, 256, 0xA1B2CD34) + input.rest();
    case 68:
      return section(little) + input.rest();
    case 69:
      return btsnoop(1002, input.rest());
    default:
      return input.rest();
  }
}

void scan(std::span<const std::uint8_t> bytes) {
  int warnings = 0;
  const auto capture = Capture::read(bytes, "fuzz", [&](const std::string&) { ++warnings; });
  while (const auto* advertisement = capture->next()) {
    require(advertisement->time >= kEarliestTime &&
            advertisement->time <= kLatestTime + std::chrono::seconds(1));
    require(advertisement->data.size() <= 1650);
    require(capture->progress() >= 0.0 && capture->progress() <= 1.0);
  }
  require(warnings <= 1 && capture->next() == nullptr && capture->progress() == 1.0);
}

}  // namespace
}  // namespace nimbrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = nimbrel::captureOf({data, size});
  try {
    if (!nimbrel::isArchive(bytes)) {
      nimbrel::scan(bytes);
    }
  } catch (const nimbrel::InputError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
