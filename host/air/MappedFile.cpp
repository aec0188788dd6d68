#include "host/air/MappedFile.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/air/InputError.hpp"

namespace nimbrel {
namespace {

class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      : number(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (number < 0) failed(path);
  }
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  const int number;

  [[noreturn]] static void failed(const std::string& path) {
    switch (errno) {
      case ENOENT:
      case ENOTDIR:
        throw InputError(path, "no such file; check the path");
      case EACCES:
        throw InputError(path, "may not be read; give yourself the permission (chmod u+r)");
      case EISDIR:
        throw InputError(path, "is a directory; name a capture file");
      default:
        throw InputError(path, std::string("cannot be read: ") + std::strerror(errno));
    }
  }
};

std::vector<std::uint8_t> readToEnd(const Descriptor& file, const std::string& path) {
  std::vector<std::uint8_t> content;
  std::array<std::uint8_t, 65536> part{};
  while (true) {
    const auto count = ::read(file.number, part.data(), part.size());
    if (count == 0) return content;
    if (count > 0) {
      content.insert(content.end(), part.begin(), part.begin() + count);
    } else if (errno != EINTR) {
      Descriptor::failed(path);
    }
  }
}

}  // namespace

MappedFile::MappedFile(const std::string& path) {
  const Descriptor file(path);
  struct stat status {};
  if (::fstat(file.number, &status) != 0) Descriptor::failed(path);
  const auto size = static_cast<std::size_t>(status.st_size);
  if (S_ISREG(status.st_mode) && size > 0) {
    void* const mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.number, 0);
    if (mapped == MAP_FAILED) Descriptor::failed(path);
    ::madvise(mapped, size, MADV_SEQUENTIAL);
    mapping_ = mapped;
    content_ = {static_cast<const std::uint8_t*>(mapped), size};
  } else {
    copy_ = readToEnd(file, path);
    content_ = copy_;
  }
  if (content_.empty()) throw InputError(path, "is empty; record the capture again");
}

MappedFile::~MappedFile() {
  if (mapping_ != nullptr) ::munmap(mapping_, content_.size());
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : copy_(std::move(other.copy_)),
      content_(std::exchange(other.content_, {})),
      mapping_(std::exchange(other.mapping_, nullptr)) {}

void MappedFile::release(std::size_t count) const {
  if (mapping_ == nullptr) return;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  ::madvise(mapping_, count / page * page, MADV_DONTNEED);
}

}  // namespace nimbrel
