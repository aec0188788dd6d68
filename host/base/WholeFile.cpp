#include "host/base/WholeFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/base/NewFile.hpp"

namespace nimbrel {

WholeFile::WholeFile(std::string path, bool overwrites)
    : path_(std::move(path)), overwrites_(overwrites) {
  struct stat found {};
  const bool exists = stat(path_.c_str(), &found) == 0;
  if (exists && S_ISREG(found.st_mode)) {
    if (!overwrites_) {
      throw fileExists(path_);
    }
    // Of a link, the file that it leads to is replaced.
    path_ = std::filesystem::canonical(path_);
  }
  if (exists && !S_ISREG(found.st_mode)) {
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    beside_ = path_ + "." + std::to_string(getpid()) + ".part";
    descriptor_ = ::open(beside_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  }
  if (descriptor_ < 0) {
    throw fileNotMade(path_);
  }
  output_.emplace(descriptor_);
}

WholeFile::~WholeFile() {
  ::close(descriptor_);
  if (!beside_.empty()) {
    ::unlink(beside_.c_str());
  }
}

void WholeFile::keep() {
  output_->flush();
  if (beside_.empty()) {
    return;
  }
  if (::fsync(descriptor_) != 0) {
    throw std::system_error(errno, std::generic_category(), path_ + " cannot be written");
  }
  int failed = ::renameat2(AT_FDCWD, beside_.c_str(), AT_FDCWD, path_.c_str(),
                           overwrites_ ? 0 : RENAME_NOREPLACE);
  if (failed != 0 && errno == EINVAL) {
    // Not every file system can refuse to replace.
    failed = ::rename(beside_.c_str(), path_.c_str());
  }
  if (failed != 0 && errno == EEXIST) {
    throw fileExists(path_);
  }
  if (failed != 0) {
    throw std::system_error(errno, std::generic_category(), path_ + " cannot be written");
  }
  beside_.clear();
}

}  // namespace nimbrel
