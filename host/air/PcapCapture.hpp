#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "host/air/Packet.hpp"

struct pcap;

namespace nimbrel {

/// Reads pcap and pcapng files of either byte order with libpcap.
class PcapCapture {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// `bytes` outlive it. Throws InputError for a header that cannot be used, or a link type
  /// without Bluetooth LE.
  PcapCapture(std::span<const std::uint8_t> bytes, std::string fileName);

  /// False at the end. Throws InputError at a record that cannot be used; nothing follows it.
  bool next(Packet& packet);
  [[nodiscard]] std::size_t position() const { return offset_; }

 private:
  struct Closer {
    void operator()(pcap* handle) const;
  };

  std::string name_;
  std::unique_ptr<pcap, Closer> handle_;
  std::FILE* file_ = nullptr;  // Owned by `handle`.
  int linkType_ = 0;
  std::size_t offset_ = 0;
};

}  // namespace nimbrel
