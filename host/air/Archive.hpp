#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/air/MappedFile.hpp"

namespace nimbrel {

/// How good a recording is. A better one compares as greater.
struct RecordingRank {
  enum class Kind : std::uint8_t { unreadable, partOfText, whole };

  Kind kind = Kind::unreadable;
  /// When the file was last changed, in seconds since 1970; 0 if the archive does not say.
  std::int64_t changed = 0;
  std::chrono::microseconds begin{};

  friend auto operator<=>(const RecordingRank&, const RecordingRank&) = default;
};

/// Takes the beginning of a file and returns its rank, or none if it is no recording.
using RankRecording =
    std::function<std::optional<RecordingRank>(std::span<const std::uint8_t> beginning)>;

struct UnpackedRecording {
  MappedFile content;
  /// The path of the archive, followed by that of the recording inside.
  std::string name;
};

/// Whether these bytes begin an archive or a compressed file: zip, tar, gzip, bzip2, xz, zstd.
bool isArchive(std::span<const std::uint8_t> bytes);

/// Unpacks the recording in an archive, the newest if there are several, to a file without a name
/// in $TMPDIR or /var/tmp. If no file is a recording, `rankText` searches whole texts. `warn` gets
/// one line about the recordings not used, and one about damage.
///
/// Looks into archives in archives, three deep. Throws InputError if there is no recording, or if
/// the unpacked size exceeds all reasonable limits.
UnpackedRecording unpackRecording(std::span<const std::uint8_t> bytes, const std::string& name,
                                  const RankRecording& rank, const RankRecording& rankText,
                                  const std::function<void(const std::string&)>& warn);

}  // namespace nimbrel
