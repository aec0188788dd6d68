#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "host/air/Advertisement.hpp"

namespace nimbrel {

/// Writes advertisements to a btsnoop file of HCI packets (H4): as LE Advertising Reports or, if
/// the data is too long for one, as LE Extended Advertising Reports. Source: RFC 1761, with the
/// Bluetooth datalinks and the epoch of Symbian's variant; Bluetooth Core Specification, volume 4,
/// part E, sections 7.7.65.2 and 7.7.65.13.
class BtSnoopWriter {
 public:
  /// Starts a file. Throws InputError if it cannot be made, or is there already and
  /// `overwrites` is false.
  BtSnoopWriter(std::string path, bool overwrites);
  ~BtSnoopWriter();
  BtSnoopWriter(const BtSnoopWriter&) = delete;
  BtSnoopWriter& operator=(const BtSnoopWriter&) = delete;

  /// The record is in the file when this returns, and on the disk after the next `sync`. Throws
  /// std::system_error if it cannot be written; the file then ends with the record before it.
  void write(const Advertisement& advertisement);

  /// Writes a record that says nothing, an empty vendor event. It gives the recording the time at
  /// which it begins or ends, whether or not something was heard then. Throws as `write` does.
  void writeMark(std::chrono::microseconds time);

  /// Flushes the file to the disk, so that it survives a loss of power.
  void sync();

  /// Returns the bytes written so far.
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  void addLegacy(const Advertisement& advertisement);
  void addExtended(const Advertisement& advertisement);
  void addEvent(const Advertisement& advertisement, std::uint8_t subevent,
                const std::vector<std::uint8_t>& report);
  void addPacket(std::chrono::microseconds time, const std::vector<std::uint8_t>& packet);
  void put();

  std::string name_;
  int descriptor_;
  bool isSynced_ = true;
  std::uint64_t size_ = 0;
  std::vector<std::uint8_t> records_;
};

}  // namespace nimbrel
