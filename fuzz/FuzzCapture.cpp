#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "host/air/Capture.hpp"
#include "host/air/Devices.hpp"
#include "host/air/InputError.hpp"
#include "tests/host/air/Bytes.hpp"

namespace nimbrel {
namespace {

void require(bool promise) {
  if (!promise) std::abort();
}

Bytes pcap(std::uint32_t linkType, const Bytes& records) {
  return little(4, 0xA1B2C3D4) + little(2, 2) + little(2, 4) + little(8, 0) + little(4, 65535) +
         little(4, linkType) + records;
}

Bytes pcapRecord(const Bytes& packet) {
  return little(8, 0) + little(4, packet.size()) + little(4, packet.size()) + packet;
}

/// Cuts `rest` into packets, each after a byte with its length, and makes records of them.
Bytes records(std::span<const std::uint8_t> rest, const auto& recordOf) {
  Bytes all;
  while (!rest.empty()) {
    const auto length = std::min<std::size_t>(rest[0], rest.size() - 1);
    const auto packet = rest.subspan(1, length);
    const Bytes record = recordOf(Bytes(packet.begin(), packet.end()));
    all.insert(all.end(), record.begin(), record.end());
    rest = rest.subspan(1 + length);
  }
  return all;
}

/// The first byte chooses what comes before the others: nothing, the header of a file, or also
/// those of whole records, so that the inner formats are reached as soon as the outer ones.
Bytes captureOf(std::span<const std::uint8_t> input) {
  constexpr std::array<std::uint32_t, 3> datalinks{1001, 1002, 2001};
  constexpr std::array<std::uint32_t, 6> linkTypes{187, 201, 251, 254, 256, 272};
  if (input.empty()) return {};
  const unsigned choice = input[0] & 0x7FU;
  const bool makesRecords = (input[0] & 0x80U) != 0;
  const auto rest = input.subspan(1);
  const Bytes plain(rest.begin(), rest.end());
  if (choice < datalinks.size()) {
    const auto recordOf = [](const Bytes& packet) { return btsnoopRecord(3, 0, packet); };
    return btsnoop(datalinks[choice], makesRecords ? records(rest, recordOf) : plain);
  }
  const auto link = choice - datalinks.size();
  if (link < linkTypes.size()) {
    return pcap(linkTypes[link], makesRecords ? records(rest, pcapRecord) : plain);
  }
  return plain;
}

void scan(std::span<const std::uint8_t> bytes) {
  int warnings = 0;
  const auto capture = Capture::read(bytes, "fuzz", [&](const std::string&) { ++warnings; });
  Devices devices;
  while (const auto* advertisement = capture->next()) {
    require(advertisement->time >= earliestTime && advertisement->data.size() <= 1650);
    const auto sighting = devices.sight(*advertisement);
    require(!sighting.carriesManufacturerData || sighting.manufacturerData);
    require(!sighting.name || !sighting.name->empty());
    require(capture->progress() >= 0.0 && capture->progress() <= 1.0);
  }
  require(warnings <= 1 && capture->next() == nullptr && capture->progress() == 1.0);
}

}  // namespace
}  // namespace nimbrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = nimbrel::captureOf({data, size});
  try {
    nimbrel::scan(bytes);
  } catch (const nimbrel::InputError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
