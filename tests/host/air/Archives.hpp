#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/host/air/Bytes.hpp"

namespace nimbrel {

/// A file for an archive.
struct File {
  std::string path;
  Bytes content;
  std::int64_t changed = 1;
};

using Choose = int (*)(archive* made);

inline Bytes archiveOf(Choose format, Choose filter, const std::vector<File>& files,
                       const char* options = nullptr) {
  Bytes bytes(1U << 20U);
  std::size_t size = 0;
  archive* const made = archive_write_new();
  format(made);
  filter(made);
  archive_write_set_options(made, options);
  archive_write_set_passphrase(made, "secret");
  archive_write_set_bytes_in_last_block(made, 1);
  EXPECT_EQ(archive_write_open_memory(made, bytes.data(), bytes.size(), &size), ARCHIVE_OK);
  for (const auto& [path, content, changed] : files) {
    archive_entry* const entry = archive_entry_new();
    archive_entry_set_pathname(entry, path.c_str());
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
    archive_entry_set_mtime(entry, changed, 0);
    archive_write_header(made, entry);
    archive_write_data(made, content.data(), content.size());
    archive_entry_free(entry);
  }
  archive_write_close(made);
  archive_write_free(made);
  bytes.resize(size);
  return bytes;
}

inline Bytes compressed(Choose filter, const Bytes& content) {
  return archiveOf(archive_write_set_format_raw, filter, {{"data", content}});
}

}  // namespace nimbrel
