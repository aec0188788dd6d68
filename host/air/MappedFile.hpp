#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace nimbrel {

/// The bytes of a file, read when they are first looked at. A pipe, which cannot be mapped, is read
/// whole at the start. The file must not be shortened by others in the meantime.
class MappedFile {
 public:
  /// Throws InputError where it cannot be read or is empty.
  explicit MappedFile(const std::string& path);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) = delete;

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return content_; }

  /// The first `count` bytes are not needed again soon: a long file then stays out of memory but
  /// for what is being read.
  void release(std::size_t count) const;

 private:
  std::vector<std::uint8_t> copy_;
  std::span<const std::uint8_t> content_;
  void* mapping_ = nullptr;
};

}  // namespace nimbrel
