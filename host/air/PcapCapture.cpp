#include "host/air/PcapCapture.hpp"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "host/air/ByteCursor.hpp"
#include "host/air/InputError.hpp"
#include "host/air/LinkLayerHeaders.hpp"

namespace nimbrel {
namespace {

constexpr std::array readableLinkTypes{
    DLT_BLUETOOTH_HCI_H4,        DLT_BLUETOOTH_HCI_H4_WITH_PHDR, DLT_BLUETOOTH_LE_LL,
    DLT_BLUETOOTH_LINUX_MONITOR, DLT_BLUETOOTH_LE_LL_WITH_PHDR,  DLT_NORDIC_BLE};

std::string describe(int linkType) {
  const char* const known = pcap_datalink_val_to_name(linkType);
  return std::to_string(linkType) + (known == nullptr ? "" : " (" + std::string(known) + ")");
}

std::size_t tell(std::FILE* file) {
  return static_cast<std::size_t>(std::max(::ftello(file), off_t{0}));
}

}  // namespace

void PcapCapture::Closer::operator()(pcap* open) const { pcap_close(open); }

bool PcapCapture::recognises(std::span<const std::uint8_t> bytes) {
  // Of pcap: with micro- and nanoseconds. Of pcapng: the type of its first block.
  constexpr std::array<std::uint32_t, 3> magics{0xA1B2C3D4, 0xA1B23C4D, 0x0A0D0D0A};
  return std::ranges::any_of(std::array{std::endian::little, std::endian::big}, [&](auto order) {
    ByteCursor cursor(bytes);
    return std::ranges::count(magics, cursor.integer<std::uint32_t>(order)) > 0;
  });
}

PcapCapture::PcapCapture(std::span<const std::uint8_t> bytes, std::string fileName)
    : name_(std::move(fileName)) {
  // Opened for reading, nothing writes to the bytes.
  auto* const content = const_cast<std::uint8_t*>(bytes.data());
  file_ = ::fmemopen(content, bytes.size(), "r");
  if (file_ == nullptr)
    throw InputError(name_, std::string("cannot be read: ") + std::strerror(errno));
  std::array<char, PCAP_ERRBUF_SIZE> error{};
  handle_.reset(pcap_fopen_offline(file_, error.data()));
  if (!handle_) {
    std::fclose(file_);
    throw InputError(name_, "has a damaged header (" + std::string(error.data()) +
                                "); record the capture again");
  }
  linkType_ = pcap_datalink(handle_.get());
  if (std::ranges::count(readableLinkTypes, linkType_) == 0) {
    throw InputError(name_, "link type " + describe(linkType_) +
                                " carries no Bluetooth LE that can be read; record HCI H4 (187, "
                                "201), the Linux monitor (254), the LE link layer (251, 256) or "
                                "Nordic's sniffer (272)");
  }
  offset_ = tell(file_);
}

bool PcapCapture::next(Packet& packet) {
  pcap_pkthdr* head = nullptr;
  const std::uint8_t* bytes = nullptr;
  const int outcome = pcap_next_ex(handle_.get(), &head, &bytes);
  if (outcome == PCAP_ERROR_BREAK) return false;
  if (outcome != 1) {
    throw InputError(name_, "is damaged in the record at byte " + std::to_string(offset_) + " (" +
                                pcap_geterr(handle_.get()) + "); used up to there");
  }
  offset_ = tell(file_);
  const std::chrono::seconds seconds(head->ts.tv_sec);
  packet.time = std::clamp(seconds, earliestTime, latestTime) +
                std::chrono::microseconds(std::clamp<std::int64_t>(head->ts.tv_usec, 0, 999'999));
  const std::span<const std::uint8_t> content(bytes, head->caplen);
  ByteCursor cursor(content);
  switch (linkType_) {
    case DLT_BLUETOOTH_HCI_H4_WITH_PHDR:
      cursor.take(4);  // The direction.
      [[fallthrough]];
    case DLT_BLUETOOTH_HCI_H4:
      packet.holdH4(cursor.rest());
      break;
    case DLT_BLUETOOTH_LINUX_MONITOR: {
      cursor.take(2);  // The number of the adapter.
      const auto opcode = cursor.integer<std::uint16_t>(std::endian::big);
      packet.holdMonitored(opcode, cursor.rest());
      break;
    }
    case DLT_BLUETOOTH_LE_LL:
      holdLinkLayer(content, packet);
      break;
    case DLT_BLUETOOTH_LE_LL_WITH_PHDR:
      holdWithRadioHeader(content, packet);
      break;
    default:
      holdFromNordicSniffer(content, packet);
  }
  return true;
}

}  // namespace nimbrel
