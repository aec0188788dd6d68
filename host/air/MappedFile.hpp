#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace nimbrel {

/// The bytes of a file, read when they are first looked at. A pipe, which cannot be mapped, is read
/// whole at the start.
///
/// Where the file is shortened by others in the meantime, what was there reads as zeros: the first
/// look at it handles the signal SIGBUS.
class MappedFile {
 public:
  /// "-" is the standard input. Throws InputError if it cannot be read or is empty.
  explicit MappedFile(const std::string& path);
  /// Of an open file, which may be closed then; `name` stands for it in messages.
  MappedFile(int descriptor, const std::string& name);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) = delete;

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return content_; }

  /// Whether zeros were read in place of bytes that are gone.
  [[nodiscard]] bool hasLostBytes() const;
  /// Whether the file is as long as it was at the start.
  [[nodiscard]] bool isWhole() const;

  /// The first `count` bytes are not needed again soon: a long file then stays out of memory but
  /// for what is being read.
  void release(std::size_t count) const;

  struct Mapping;

 private:
  void load(int descriptor, const std::string& name);

  std::vector<std::uint8_t> copy_;
  std::span<const std::uint8_t> content_;
  std::unique_ptr<Mapping> mapping_;
};

}  // namespace nimbrel
