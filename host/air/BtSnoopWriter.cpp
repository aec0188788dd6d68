#include "host/air/BtSnoopWriter.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <concepts>
#include <span>
#include <system_error>
#include <utility>

#include "host/air/BtSnoop.hpp"
#include "host/base/NewFile.hpp"

namespace nimbrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kH4Event = 0x04;
constexpr std::uint8_t kLeMetaEvent = 0x3E;
constexpr std::uint8_t kVendorEvent = 0xFF;
constexpr std::size_t kLongestLegacyData = 31;
/// What the 255 bytes of an event leave for the data of one extended report.
constexpr std::size_t kLongestFragment = 229;

template <std::unsigned_integral Integer>
void appendBig(Bytes& bytes, Integer value) {
  for (int shift = 8 * (static_cast<int>(sizeof value) - 1); shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> static_cast<unsigned>(shift)));
  }
}

void appendAddress(Bytes& bytes, const DeviceAddress& address) {
  bytes.push_back(address.type == AddressType::randomAddress ? 1 : 0);
  bytes.insert(bytes.end(), address.bytes.rbegin(), address.bytes.rend());
}

void appendData(Bytes& bytes, std::span<const std::uint8_t> data) {
  bytes.push_back(static_cast<std::uint8_t>(data.size()));
  bytes.insert(bytes.end(), data.begin(), data.end());
}

}  // namespace

BtSnoopWriter::BtSnoopWriter(std::string path, bool overwrites)
    : name_(std::move(path)), descriptor_(makeFile(name_, overwrites)) {
  records_.assign(BtSnoop::kMagic.begin(), BtSnoop::kMagic.end());
  appendBig(records_, std::uint32_t{1});
  appendBig(records_, std::uint32_t{BtSnoop::h4});
  put();
}

BtSnoopWriter::~BtSnoopWriter() { ::close(descriptor_); }

void BtSnoopWriter::write(const Advertisement& advertisement) {
  if (advertisement.data.size() <= kLongestLegacyData) {
    addLegacy(advertisement);
  } else {
    addExtended(advertisement);
  }
  put();
}

void BtSnoopWriter::writeMark(std::chrono::microseconds time) {
  addPacket(time, {kH4Event, kVendorEvent, 0x00});
  put();
}

void BtSnoopWriter::addLegacy(const Advertisement& advertisement) {
  constexpr std::uint8_t kUndirected = 0x00;
  constexpr std::uint8_t kScanResponse = 0x04;
  Bytes report{advertisement.isScanResponse ? kScanResponse : kUndirected};
  appendAddress(report, advertisement.address);
  appendData(report, advertisement.data);
  report.push_back(static_cast<std::uint8_t>(advertisement.rssi));
  addEvent(advertisement, 0x02, report);
}

void BtSnoopWriter::addExtended(const Advertisement& advertisement) {
  constexpr std::uint8_t kScanResponse = 0x08;
  constexpr std::uint8_t kMoreToCome = 0x20;
  constexpr std::uint8_t kOnePhy = 0x01;
  constexpr std::uint8_t kNoPower = 0x7F;
  auto rest = advertisement.data;
  while (!rest.empty()) {
    const auto fragment = rest.first(std::min(rest.size(), kLongestFragment));
    rest = rest.subspan(fragment.size());
    Bytes report{static_cast<std::uint8_t>((advertisement.isScanResponse ? kScanResponse : 0) |
                                           (rest.empty() ? 0 : kMoreToCome)),
                 0x00};
    appendAddress(report, advertisement.address);
    // The advertising set is 0. Neither periodic advertising nor a direct address follows.
    report.insert(report.end(), {kOnePhy, kOnePhy, 0x00, kNoPower});
    report.push_back(static_cast<std::uint8_t>(advertisement.rssi));
    report.insert(report.end(), 9, 0x00);
    appendData(report, fragment);
    addEvent(advertisement, 0x0D, report);
  }
}

void BtSnoopWriter::addEvent(const Advertisement& advertisement, std::uint8_t subevent,
                             const Bytes& report) {
  Bytes packet{kH4Event, kLeMetaEvent};
  packet.push_back(static_cast<std::uint8_t>(report.size() + 2));
  packet.insert(packet.end(), {subevent, 0x01});
  packet.insert(packet.end(), report.begin(), report.end());
  addPacket(advertisement.time, packet);
}

void BtSnoopWriter::addPacket(std::chrono::microseconds time, const Bytes& packet) {
  constexpr std::uint32_t kReceivedEvent = 3;
  const auto size = static_cast<std::uint32_t>(packet.size());
  appendBig(records_, size);
  appendBig(records_, size);
  appendBig(records_, kReceivedEvent);
  appendBig(records_, std::uint32_t{0});  // No packet was dropped.
  appendBig(records_, static_cast<std::uint64_t>((time + BtSnoop::kEpoch).count()));
  records_.insert(records_.end(), packet.begin(), packet.end());
}

/// In one piece, so that a program that is ended leaves whole records.
void BtSnoopWriter::put() {
  std::span<const std::uint8_t> rest = records_;
  while (!rest.empty()) {
    const auto written = ::write(descriptor_, rest.data(), rest.size());
    if (written >= 0) {
      rest = rest.subspan(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      const int error = errno;
      // A full disk takes a part of a record. Pipes and the like cannot be cut.
      [[maybe_unused]] const int cut = ::ftruncate(descriptor_, static_cast<off_t>(size_));
      throw std::system_error(error, std::generic_category(),
                              name_ + ": the recording cannot go on");
    }
  }
  size_ += records_.size();
  records_.clear();
  isSynced_ = false;
}

void BtSnoopWriter::sync() {
  if (isSynced_) {
    return;
  }
  isSynced_ = true;
  // Pipes and the like have no disk behind them.
  if (::fdatasync(descriptor_) != 0 && errno != EINVAL && errno != EROFS) {
    throw std::system_error(errno, std::generic_category(), name_ + ": the recording cannot go on");
  }
}

}  // namespace nimbrel
