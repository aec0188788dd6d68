#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/air/MappedFile.hpp"

namespace nimbrel {

/// How well some bytes serve as a recording. A better one compares as greater.
struct RecordingRank {
  enum class Kind : std::uint8_t { unreadable, partOfText, whole };

  Kind kind = Kind::unreadable;
  /// When the file was changed last, in seconds since 1970; 0 if the archive does not tell.
  std::int64_t changed = 0;
  std::chrono::microseconds begin{};

  friend auto operator<=>(const RecordingRank&, const RecordingRank&) = default;
};

/// Takes the beginning of a file and returns the rank of the recording that it is; none if it is
/// no recording.
using RankRecording =
    std::function<std::optional<RecordingRank>(std::span<const std::uint8_t> beginning)>;

struct UnpackedRecording {
  MappedFile content;
  /// Of the archive, and where it lies in that.
  std::string name;
};

/// Whether these bytes begin an archive or a compressed file: zip, tar, gzip, bzip2, xz, zstd.
bool isArchive(std::span<const std::uint8_t> bytes);

/// Unpacks the recording in an archive, to a file without a name in $TMPDIR or /var/tmp; of
/// several, the newest. `rankText` looks through whole texts if no file is a recording. `warn`
/// takes one line on the others, and one on damage.
///
/// Archives in archives are looked into, three deep. Throws InputError if there is no recording,
/// or what unpacks is beyond any measure for one.
UnpackedRecording unpackRecording(std::span<const std::uint8_t> bytes, const std::string& name,
                                  const RankRecording& rank, const RankRecording& rankText,
                                  const std::function<void(const std::string&)>& warn);

}  // namespace nimbrel
