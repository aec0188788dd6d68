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
/// pcap, pcapng or the text of an Android bug report, told apart by their content. A longer file
/// takes no more memory. Of an archive or a compressed file, the newest recording in it is read.
class Capture {
 public:
  /// Takes one line for the user on what was used of an archive, and one on damage inside the
  /// capture. What comes before the damage is used.
  using WarningHandler = std::function<void(const std::string&)>;

  /// Of a file, "-" being the standard input, or of a pipe, which is read whole. Throws InputError
  /// if it cannot be used.
  static std::unique_ptr<Capture> open(const std::string& path, WarningHandler warn);

  /// Of bytes that outlive it; `name` stands for the file in messages. Throws InputError if they
  /// cannot be used.
  static std::unique_ptr<Capture> read(std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn);

  /// Of the file, and of the recording in it if it is an archive.
  [[nodiscard]] const std::string& name() const { return name_; }

  /// The next advertisement, or null at the end. Valid until the next call. Throws
  /// std::runtime_error where the file was shortened in the meantime.
  ///
  /// Times are those of the records, in their order: they may jump either way, and where damaged
  /// are anything from the year 0 to 9999. Directed advertising is left out, as it carries no data.
  const Advertisement* next();

  /// Of the records read so far, of whatever kind; null before the first.
  [[nodiscard]] std::optional<std::chrono::microseconds> firstRecordTime() const { return first_; }
  [[nodiscard]] std::optional<std::chrono::microseconds> lastRecordTime() const { return last_; }

  /// Of a sniffer's advertising packets read so far, those with a wrong checksum. They are left
  /// out.
  [[nodiscard]] std::uint64_t damagedPackets() const { return damagedPackets_; }

  /// For a capture read to its end without an advertisement: that there is none, and what to do.
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
