#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "host/air/Advertisement.hpp"
#include "host/air/BtSnoop.hpp"
#include "host/air/BugReport.hpp"
#include "host/air/HciEvents.hpp"
#include "host/air/LinkLayer.hpp"
#include "host/air/MappedFile.hpp"
#include "host/air/Packet.hpp"
#include "host/air/PacketLogger.hpp"
#include "host/air/Pcap.hpp"
#include "host/air/PcapNg.hpp"

namespace nimbrel {

/// A recording of Bluetooth traffic, read as the advertisements in it: btsnoop, Apple PacketLogger,
/// pcap, pcapng or the text of an Android bug report, recognised by content. A longer file takes no
/// more memory. In an archive or a compressed file, the newest recording is read.
class Capture {
 public:
  /// Gets one line for the user about what was used of an archive, and one about damage inside the
  /// capture. The records before the damage are used.
  using WarningHandler = std::function<void(const std::string&)>;

  /// Opens a file; "-" is the standard input. A pipe is read whole first. Throws InputError if the
  /// file cannot be used.
  static std::unique_ptr<Capture> open(const std::string& path, WarningHandler warn);

  /// Reads bytes in memory; `name` is the name in messages. Throws InputError if they cannot be
  /// used. REQUIRES: the bytes outlive the capture.
  static std::unique_ptr<Capture> read(std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn);

  /// The name of the file, followed by that of the recording inside if it is an archive.
  [[nodiscard]] const std::string& name() const { return name_; }

  /// The next advertisement, or null at the end. Valid until the next call. Throws
  /// std::runtime_error if the file was shortened while it was read.
  ///
  /// Times are those of the records, in file order: they may jump either way, and a damaged one may
  /// lie anywhere in the years 0 to 9999. Directed advertising is left out, as it carries no data.
  const Advertisement* next();

  /// The time span of all records read so far; null before the first.
  [[nodiscard]] std::optional<std::chrono::microseconds> firstRecordTime() const { return first_; }
  [[nodiscard]] std::optional<std::chrono::microseconds> lastRecordTime() const { return last_; }

  /// The number of a sniffer's advertising packets left out so far for a wrong checksum.
  [[nodiscard]] std::uint64_t damagedPackets() const { return damagedPackets_; }

  /// The message for a capture without an advertisement, with what to do about it. REQUIRES: it was
  /// read to its end.
  [[nodiscard]] std::string silence() const;

  /// How far the reading has come, from 0 to 1.
  [[nodiscard]] double progress() const;

 private:
  using Source = std::variant<BtSnoop, PacketLogger, Pcap, PcapNg, BugReport>;

  Capture(std::optional<MappedFile> mapped, std::span<const std::uint8_t> bytes,
          const std::string& name, WarningHandler warningHandler);

  static std::unique_ptr<Capture> make(std::optional<MappedFile> mapped,
                                       std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn);
  static Source sourceOf(std::span<const std::uint8_t> bytes, const std::string& name);
  void beginPacket();
  bool readPacket();

  std::string name_;
  std::optional<MappedFile> file_;
  std::size_t size_;
  Source source_;
  WarningHandler warn_;
  std::size_t position_ = 0;
  std::size_t released_ = 0;
  bool ended_ = false;
  bool isDamaged_ = false;
  std::uint64_t damagedPackets_ = 0;
  std::optional<std::chrono::microseconds> first_;
  std::optional<std::chrono::microseconds> last_;
  Packet packet_;
  HciEvents hciEvents_;
  LinkLayer linkLayer_;
  Advertisement advertisement_;
};

}  // namespace nimbrel
