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
  /// Searches the whole text, which may be long.
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// Throws InputError if the log cannot be unpacked. REQUIRES: recognises(content), and `content`
  /// outlives the reader.
  BugReport(std::span<const std::uint8_t> content, std::string fileName);

  /// Returns false at the end. Throws InputError at an unusable record; nothing can follow it.
  bool next(Packet& packet);

  /// The offset in the text up to which records were read.
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
