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
#include "host/air/HciEvents.hpp"
#include "host/air/MappedFile.hpp"
#include "host/air/Packet.hpp"
#include "host/air/PacketLogger.hpp"
#include "host/air/PcapCapture.hpp"

namespace nimbrel {

/// A recording of Bluetooth traffic, read as the advertisements in it: btsnoop, Apple PacketLogger,
/// pcap or pcapng, told apart by their first bytes. A longer file takes no more memory.
class Capture {
 public:
  /// Takes one line for the user on damage inside the capture, at most once. What comes before the
  /// damage is used.
  using WarningHandler = std::function<void(const std::string&)>;

  /// Of a file, or of a pipe, which is read whole. Throws InputError where it cannot be used.
  static std::unique_ptr<Capture> open(const std::string& path, WarningHandler warn);

  /// Of bytes that outlive it; `name` stands for the file in messages. Throws InputError where they
  /// cannot be used.
  static std::unique_ptr<Capture> read(std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn);

  /// The next advertisement, or null at the end. Valid until the next call.
  ///
  /// Times are those of the records, in their order: they may jump either way, and where damaged
  /// are anything from the year 0 to 9999. Directed advertising is left out, as it carries no data.
  const Advertisement* next();

  /// Of the records read so far, of whatever kind; null before the first.
  [[nodiscard]] std::optional<std::chrono::microseconds> firstRecordTime() const { return first_; }
  [[nodiscard]] std::optional<std::chrono::microseconds> lastRecordTime() const { return last_; }

  /// How far the reading has come, from 0 to 1.
  [[nodiscard]] double progress() const;

 private:
  using Source = std::variant<BtSnoop, PacketLogger, PcapCapture>;

  Capture(std::optional<MappedFile> mapped, std::span<const std::uint8_t> bytes,
          const std::string& name, WarningHandler warningHandler);

  static Source sourceOf(std::span<const std::uint8_t> bytes, const std::string& name);
  bool readPacket();

  std::optional<MappedFile> file_;
  std::size_t size_;
  Source source_;
  WarningHandler warn_;
  std::size_t position_ = 0;
  std::size_t released_ = 0;
  bool ended_ = false;
  std::optional<std::chrono::microseconds> first_;
  std::optional<std::chrono::microseconds> last_;
  Packet packet_;
  HciEvents hciEvents_;
  Advertisement advertisement_;
};

}  // namespace nimbrel
