#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace nimbrel {

/// Unpacks gzip, one member or several, up to the last byte before a cut or other damage.
/// Source: RFC 1952.
class GzipStream {
 public:
  [[nodiscard]] static bool recognises(std::span<const std::uint8_t> bytes);

  /// `packed` outlives it.
  explicit GzipStream(std::span<const std::uint8_t> packed);
  ~GzipStream();
  GzipStream(const GzipStream&) = delete;
  GzipStream& operator=(const GzipStream&) = delete;

  /// The next `count` bytes, less at the end or at damage.
  std::vector<std::uint8_t> read(std::size_t count);

  /// What is wrong with what follows the bytes read; empty if nothing is.
  [[nodiscard]] const std::string& damage() const { return damage_; }

 private:
  void refill();
  void endMember();

  std::span<const std::uint8_t> rest_;  // behind what zlib has
  z_stream stream_{};
  bool isOver_ = false;
  std::string damage_;
};

}  // namespace nimbrel
