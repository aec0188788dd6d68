#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/air/Packet.hpp"

namespace nimbrel {

/// Reads the log of HCI packets that Android packs into the text of a bug report, in its versions 1
/// and 2: lines of base64 around a compressed stream. Android leaves most advertisements out of it.
class BugReport {
 public:
  /// The text may be long: the log stands anywhere in it.
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// `content`, which it recognises, outlives it. Throws InputError for a log that cannot be
  /// unpacked.
  BugReport(std::span<const std::uint8_t> content, std::string fileName);

  /// False at the end. Throws InputError at a record that cannot be used; nothing follows it.
  bool next(Packet& packet);

  /// How much of the text stands for the records read so far.
  [[nodiscard]] std::size_t position() const;

 private:
  struct Record;

  [[nodiscard]] std::chrono::microseconds firstTime(std::uint64_t lastTime) const;
  bool read(std::size_t& offset, Record& record) const;

  std::string name_;
  std::size_t textSize_;
  std::uint8_t version_ = 0;
  std::vector<std::uint8_t> records_;
  std::size_t offset_ = 0;
  std::chrono::microseconds time_{};
};

}  // namespace nimbrel
