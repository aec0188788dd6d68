#include "host/air/Archive.hpp"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "host/air/GzipStream.hpp"
#include "host/base/InputError.hpp"
#include "host/base/Printable.hpp"

namespace nimbrel {
namespace {

using namespace std::string_view_literals;

constexpr int kDeepest = 3;
constexpr std::uint64_t kLargest = std::uint64_t{16} << 30U;
/// Recordings shrink to a tenth or so. A small file may well shrink more.
constexpr std::uint64_t kLargestRatio = 400;
constexpr std::uint64_t kSmall = std::uint64_t{64} << 20U;
constexpr std::size_t kBeginning = 65536;
constexpr std::size_t kTarHeaderSize = 512;

struct Closer {
  void operator()(archive* open) const { archive_read_free(open); }
};
using Handle = std::unique_ptr<archive, Closer>;

bool beginsWith(std::span<const std::uint8_t> bytes, std::string_view mark,
                std::size_t offset = 0) {
  return bytes.size() >= offset + mark.size() &&
         std::memcmp(bytes.data() + offset, mark.data(), mark.size()) == 0;
}

std::string problemOf(archive* opened) {
  const char* const problem = archive_error_string(opened);
  return problem == nullptr ? "for an unknown reason" : problem;
}

/// The mark stands far behind the start, where a recording may hold the same bytes by chance: the
/// sum of the header, in octal digits, must be right, too.
/// Source: POSIX.1-2017, pax, "ustar Interchange Format".
bool isTar(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kSum = 148;
  constexpr std::size_t kSumSize = 8;
  constexpr std::size_t kMark = 257;
  if (bytes.size() < kTarHeaderSize || !beginsWith(bytes, "ustar"sv, kMark)) {
    return false;
  }
  unsigned sum = kSumSize * ' ';
  unsigned claimed = 0;
  for (std::size_t i = 0; i < kTarHeaderSize; ++i) {
    if (i < kSum || i >= kSum + kSumSize) {
      sum += bytes[i];
    } else if (bytes[i] >= '0' && bytes[i] <= '7') {
      claimed = claimed * 8 + (bytes[i] - unsigned{'0'});
    }
  }
  return sum == claimed;
}

/// Returns false if it cannot be opened.
bool openArchive(archive* opened, std::span<const std::uint8_t> bytes) {
  // None of those for which a program would be started.
  archive_read_support_filter_gzip(opened);
  archive_read_support_filter_bzip2(opened);
  archive_read_support_filter_xz(opened);
  archive_read_support_filter_zstd(opened);
  archive_read_support_format_zip(opened);
  archive_read_support_format_tar(opened);
  archive_read_support_format_raw(opened);
  archive_read_support_format_empty(opened);
  return archive_read_open_memory(opened, bytes.data(), bytes.size()) == ARCHIVE_OK;
}

/// Whether these bytes are a compressed file that is no archive.
bool isGzipAlone(std::span<const std::uint8_t> bytes) {
  return GzipStream::recognises(bytes) && !isTar(GzipStream(bytes).read(kTarHeaderSize));
}

/// Reads a file of an archive up to the last byte before damage.
class EntryReader {
 public:
  explicit EntryReader(archive* opened) : opened_(opened) {}

  /// The next `count` bytes, less at the end or at damage.
  std::vector<std::uint8_t> read(std::size_t count) {
    std::vector<std::uint8_t> bytes;
    while (bytes.size() < count && nextBlock()) {
      // A hole of a sparse file reads as zeros.
      const auto hole = std::min<std::size_t>(start_ - place_, count - bytes.size());
      bytes.resize(bytes.size() + hole);
      const auto part = block_.first(std::min(block_.size(), count - bytes.size()));
      bytes.insert(bytes.end(), part.begin(), part.end());
      block_ = block_.subspan(part.size());
      place_ += hole + part.size();
      start_ = std::max(start_, place_);
    }
    return bytes;
  }

  /// What is wrong with what follows the bytes read; empty if nothing is.
  [[nodiscard]] const std::string& damage() const { return damage_; }

 private:
  /// Returns false if there is no more.
  bool nextBlock() {
    while (block_.empty() && !isOver_) {
      const void* bytes = nullptr;
      std::size_t size = 0;
      la_int64_t start = 0;
      const int outcome = archive_read_data_block(opened_, &bytes, &size, &start);
      if (outcome != ARCHIVE_OK && outcome != ARCHIVE_RETRY) {
        isOver_ = true;
        damage_ = outcome == ARCHIVE_EOF ? "" : problemOf(opened_);
        return false;
      }
      block_ = {static_cast<const std::uint8_t*>(bytes), outcome == ARCHIVE_OK ? size : 0};
      start_ = std::max(place_, static_cast<std::uint64_t>(std::max<la_int64_t>(start, 0)));
    }
    return !isOver_;
  }

  archive* opened_;
  std::span<const std::uint8_t> block_;  // not read yet
  std::uint64_t start_ = 0;              // of the block, in the file
  std::uint64_t place_ = 0;              // of what is read next
  bool isOver_ = false;
  std::string damage_;
};

/// A file without a name, gone when it is closed.
class UnnamedFile {
 public:
  UnnamedFile() {
    const char* const folder = std::getenv("TMPDIR");
    path_ =
        std::string(folder == nullptr || *folder == '\0' ? "/var/tmp" : folder) + "/nimbrel-XXXXXX";
    descriptor_ = ::mkstemp(path_.data());
    if (descriptor_ < 0) {
      failed();
    }
    ::unlink(path_.c_str());
  }
  ~UnnamedFile() { ::close(descriptor_); }
  UnnamedFile(const UnnamedFile&) = delete;
  UnnamedFile& operator=(const UnnamedFile&) = delete;

  void write(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
      const auto written = ::write(descriptor_, bytes.data(), bytes.size());
      if (written >= 0) {
        bytes = bytes.subspan(static_cast<std::size_t>(written));
      } else if (errno != EINTR) {
        failed();
      }
    }
  }

  [[nodiscard]] MappedFile map(const std::string& name) const { return {descriptor_, name}; }

 private:
  [[noreturn]] void failed() const {
    throw InputError(path_, std::string("cannot be written to unpack an archive: ") +
                                std::strerror(errno) + "; set TMPDIR to a folder with room");
  }

  std::string path_;
  int descriptor_ = -1;
};

/// One search of an archive, and of those in it.
class Search {
 public:
  Search(std::size_t packedSize, std::string name, const RankRecording& rank, bool isOfTexts)
      : packedSize_(packedSize), name_(std::move(name)), rank_(rank), isOfTexts_(isOfTexts) {}

  void lookInto(std::span<const std::uint8_t> bytes, const std::string& inside, int depth,
                std::int64_t changed) {
    const Handle handle(archive_read_new());
    if (isGzipAlone(bytes) || !openArchive(handle.get(), bytes)) {
      if (GzipStream::recognises(bytes)) {
        lookIntoGzip(bytes, inside, depth, changed);
      } else {
        noteDamage(problemOf(handle.get()));
      }
      return;
    }
    archive_entry* entry = nullptr;
    while (nextEntry(handle.get(), entry)) {
      if (archive_entry_filetype(entry) == AE_IFREG) {
        lookAt(handle.get(), entry, inside, depth, changed);
      }
    }
  }

  std::optional<UnpackedRecording> best;
  std::optional<RecordingRank> bestRank;
  std::vector<std::string> found;
  /// The first thing that went wrong, or nothing.
  std::string damage;
  bool isEncrypted = false;
  bool isTooDeep = false;

 private:
  /// Returns as many bytes of a file, less at its end.
  using Read = std::function<std::vector<std::uint8_t>(std::size_t)>;

  /// libarchive drops up to 64 KiB before a cut, and a whole file that is smaller.
  void lookIntoGzip(std::span<const std::uint8_t> bytes, const std::string& inside, int depth,
                    std::int64_t changed) {
    GzipStream stream(bytes);
    const auto readStream = [&](std::size_t count) {
      auto part = stream.read(count);
      checkSize(part.size());
      return part;
    };
    lookAtContent(readStream, inside, depth, changed);
    noteDamage(stream.damage());
  }

  bool nextEntry(archive* opened, archive_entry*& entry) {
    const int outcome = archive_read_next_header(opened, &entry);
    if (outcome < ARCHIVE_WARN) {
      noteDamage(problemOf(opened));
    }
    return outcome != ARCHIVE_EOF && outcome >= ARCHIVE_WARN;
  }

  void lookAt(archive* opened, archive_entry* entry, const std::string& inside, int depth,
              std::int64_t changed) {
    if (archive_entry_is_data_encrypted(entry) != 0) {
      isEncrypted = true;
      return;
    }
    if (archive_format(opened) != ARCHIVE_FORMAT_ZIP && archive_entry_size_is_set(entry) != 0 &&
        archive_entry_sparse_count(entry) == 0) {
      // Unpacked even if it is passed over.
      checkSize(static_cast<std::uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0)));
    }
    const char* const path = archive_entry_pathname(entry);
    std::string name = inside;
    if (archive_format(opened) != ARCHIVE_FORMAT_RAW) {
      name.append(inside.empty() ? "" : "/").append(path == nullptr ? "?" : path);
      changed = archive_entry_mtime_is_set(entry) != 0 ? archive_entry_mtime(entry) : changed;
    }
    if (archive_format(opened) == ARCHIVE_FORMAT_RAW &&
        archive_filter_code(opened, 0) == ARCHIVE_FILTER_NONE) {
      // Not what its first bytes promise.
      noteDamage("nothing in it can be unpacked");
      return;
    }
    EntryReader reader(opened);
    const auto readEntry = [&](std::size_t count) {
      auto part = reader.read(count);
      checkSize(part.size());
      noteDamage(reader.damage());
      return part;
    };
    lookAtContent(readEntry, name, depth, changed);
  }

  void lookAtContent(const Read& read, const std::string& name, int depth, std::int64_t changed) {
    const auto beginning = read(kBeginning);
    if (isArchive(beginning)) {
      if (depth == kDeepest) {
        isTooDeep = true;
        return;
      }
      const auto file = unpack(read, beginning);
      lookInto(file.bytes(), name, depth + 1, changed);
    } else if (isOfTexts_) {
      if (!beginning.empty() && std::ranges::count(beginning, 0) == 0) {
        auto file = unpack(read, beginning);
        take(rank_(file.bytes()), changed, name, [&] { return std::move(file); });
      }
    } else {
      take(rank_(beginning), changed, name, [&] { return unpack(read, beginning); });
    }
  }

  void take(std::optional<RecordingRank> rank, std::int64_t changed, const std::string& inside,
            const std::function<MappedFile()>& content) {
    if (!rank) {
      return;
    }
    found.push_back(inside);
    rank->changed = changed;
    if (!bestRank || *rank > *bestRank) {
      best.emplace(UnpackedRecording{content(), inside});
      bestRank = rank;
    }
  }

  [[nodiscard]] MappedFile unpack(const Read& read, std::span<const std::uint8_t> beginning) const {
    const UnnamedFile file;
    file.write(beginning);
    for (auto part = read(kBeginning); !part.empty(); part = read(kBeginning)) {
      file.write(part);
    }
    return file.map(name_);
  }

  void checkSize(std::uint64_t more) {
    unpackedSize_ += std::min(more, kLargest);
    if (unpackedSize_ > kLargest) {
      throw InputError(name_, "unpacks to more than 16 GiB; unpack the recording by other means");
    }
    if (unpackedSize_ > kSmall && unpackedSize_ / kLargestRatio > packedSize_) {
      throw InputError(name_,
                       "unpacks to more than 400 times its size, as no recording does; if you "
                       "trust it, unpack it by other means");
    }
  }

  void noteDamage(const std::string& problem) {
    if (damage.empty()) {
      damage = problem;
    }
  }

  std::size_t packedSize_;
  std::string name_;
  const RankRecording& rank_;
  bool isOfTexts_;
  std::uint64_t unpackedSize_ = 0;
};

[[noreturn]] void refuse(const Search& search, const std::string& name) {
  if (search.isEncrypted) {
    throw InputError(name, "is encrypted; unpack it first");
  }
  if (!search.damage.empty()) {
    throw InputError(name, "is damaged (" + search.damage + "); copy it again");
  }
  if (search.isTooDeep) {
    throw InputError(name, "holds archives in archives, more than three deep; unpack it first");
  }
  throw InputError(name,
                   "is an archive and holds no recording that can be read; of Android, switch on "
                   "the Bluetooth HCI "
                   "snoop log before you take the bug report");
}

}  // namespace

bool isArchive(std::span<const std::uint8_t> bytes) {
  return beginsWith(bytes, "PK\x03\x04"sv) || beginsWith(bytes, "\x1F\x8B"sv) ||
         beginsWith(bytes, "BZh"sv) || beginsWith(bytes, "\xFD\x37zXZ\0"sv) ||
         beginsWith(bytes, "\x28\xB5\x2F\xFD"sv) || isTar(bytes);
}

UnpackedRecording unpackRecording(std::span<const std::uint8_t> bytes, const std::string& name,
                                  const RankRecording& rank, const RankRecording& rankText,
                                  const std::function<void(const std::string&)>& warn) {
  Search search(bytes.size(), name, rank, false);
  search.lookInto(bytes, "", 1, 0);
  Search texts(bytes.size(), name, rankText, true);
  if (!search.best) {
    texts.lookInto(bytes, "", 1, 0);
  }
  Search& successful = search.best ? search : texts;
  if (!successful.best) {
    refuse(search, name);
  }
  const std::string inside = std::exchange(successful.best->name, name);
  if (!inside.empty()) {
    successful.best->name += " (";
    appendPrintable(successful.best->name, inside);
    successful.best->name += ")";
  }
  if (!successful.damage.empty()) {
    warn(name + ": is damaged (" + successful.damage + "); used up to there");
  }
  std::string others;
  for (const std::string& each : successful.found) {
    if (each != inside) {
      others += others.empty() ? "" : ", ";
      appendPrintable(others, each);
    }
  }
  if (!others.empty()) {
    warn(successful.best->name + " is used, the newest recording; also there: " + others);
  }
  return std::move(*successful.best);
}

}  // namespace nimbrel
