// Archives of every kind, whole and damaged.

#include <archive.h>
#include <archive_entry.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/Input.hpp"
#include "host/air/Archive.hpp"
#include "host/air/Capture.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

using fuzz::Input;

Bytes archiveOf(Input& input) {
  Bytes bytes(1U << 18U);
  std::size_t size = 0;
  archive* const made = archive_write_new();
  const auto kind = input.byte();
  if (kind % 3 == 0) {
    archive_write_set_format_zip(made);
  } else {
    kind % 3 == 1 ? archive_write_set_format_pax_restricted(made)
                  : archive_write_set_format_raw(made);
    kind % 2 == 0 ? archive_write_add_filter_gzip(made) : archive_write_add_filter_none(made);
  }
  archive_write_set_bytes_in_last_block(made, 1);
  archive_write_open_memory(made, bytes.data(), bytes.size(), &size);
  for (int files = 1 + input.byte() % 3; files > 0; --files) {
    const auto shape = input.byte();
    Bytes content = input.bytes();
    content = shape % 4 == 0   ? content
              : shape % 4 == 1 ? btsnoop(1002, content)
              : shape % 4 == 2 ? text("--- BEGIN:BTSNOOP_LOG_SUMMARY\n") + content
                               : archiveOf(input);
    archive_entry* const entry = archive_entry_new();
    archive_entry_set_pathname(entry, input.text().c_str());
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
    archive_entry_set_mtime(entry, input.byte(), 0);
    if (archive_write_header(made, entry) == ARCHIVE_OK) {
      archive_write_data(made, content.data(), content.size());
    }
    archive_entry_free(entry);
    if (input.isEmpty()) {
      break;
    }
  }
  archive_write_close(made);
  archive_write_free(made);
  bytes.resize(size);
  return bytes;
}

/// What is left of the input damages the archive: places and new bytes.
Bytes damaged(Input input) {
  if (input.byte() % 4 == 0) {
    return input.rest();
  }
  Bytes bytes = archiveOf(input);
  while (!input.isEmpty() && !bytes.empty()) {
    const auto high = std::size_t{input.byte()} << 8U;
    const auto place = high | input.byte();
    bytes[place % bytes.size()] = input.byte();
  }
  return bytes;
}

}  // namespace
}  // namespace nimbrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In memory, where the system has such a folder.
  static const int set = ::setenv("TMPDIR", "/dev/shm", 0);
  static_cast<void>(set);
  const auto bytes = nimbrel::damaged({data, size});
  try {
    if (nimbrel::isArchive(bytes)) {
      const auto capture =
          nimbrel::Capture::read(bytes, "fuzz", [](const std::string& /*warning*/) {});
      while (capture->next() != nullptr) {
      }
    }
  } catch (const nimbrel::InputError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
