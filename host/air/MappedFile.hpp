#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace nimbrel {

/// The bytes of a file, loaded on first access. A pipe, which cannot be mapped, is read whole at
/// the start.
///
/// If somebody shortens the file in the meantime, the lost bytes read as zeros: their first access
/// raises SIGBUS, which is handled here.
class MappedFile {
 public:
  /// "-" is the standard input. Throws InputError if it cannot be read or is empty.
  explicit MappedFile(const std::string& path);
  /// Maps an open file, which may be closed afterwards; `name` is its name in messages.
  MappedFile(int descriptor, const std::string& name);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) = delete;

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return content_; }

  /// Whether lost bytes were read as zeros.
  [[nodiscard]] bool hasLostBytes() const;
  /// Whether the file still has its length of the start.
  [[nodiscard]] bool isWhole() const;

  /// Releases the memory of the first `count` bytes, which are loaded again on their next access.
  void release(std::size_t count) const;

  struct Mapping;

 private:
  void load(int descriptor, const std::string& name);

  std::vector<std::uint8_t> copy_;
  std::span<const std::uint8_t> content_;
  std::unique_ptr<Mapping> mapping_;
};

}  // namespace nimbrel
