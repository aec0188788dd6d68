#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/air/BtSnoopWriter.hpp"
#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// When a recording continues in a new file. Absent: never.
struct Rotation {
  std::optional<std::uint64_t> bytes;
  std::optional<MainQueue::Time> age;

  /// Reads "500k", "100M" or "1G" bytes, or "90s", "30min", "24h" or "7d". Throws UsageError.
  static Rotation parse(const std::string& text);
};

/// What `nimbrel scan --record` writes: one btsnoop file, or several, one after the other. The
/// files after "walk.btsnoop" are "walk.2.btsnoop", "walk.3.btsnoop" and so on.
class Recording {
 public:
  /// Starts the first file. Throws InputError if it cannot be made, or is there already and
  /// `overwrites` is false.
  Recording(std::string path, bool overwrites, Rotation rotation);

  /// Throws std::system_error if a record cannot be written, and InputError if the next file
  /// cannot be made.
  void write(const Advertisement& advertisement);

  /// Flushes the file to the disk. Throws std::system_error.
  void sync() { writer_->sync(); }

 private:
  [[nodiscard]] bool isFull(MainQueue::Time now) const;

  std::string path_;
  bool overwrites_;
  Rotation rotation_;
  std::optional<BtSnoopWriter> writer_;
  std::optional<MainQueue::Time> began_;  // The time of the file's first record.
  unsigned files_ = 1;
};

}  // namespace nimbrel
