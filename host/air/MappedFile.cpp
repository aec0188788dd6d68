#include "host/air/MappedFile.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      : number(path == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                           : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (number < 0) {
      failed(path);
    }
  }
  ~Descriptor() {
    if (number >= 0) {
      ::close(number);
    }
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

std::vector<std::uint8_t> readToEnd(int descriptor, const std::string& path) {
  std::vector<std::uint8_t> content;
  std::array<std::uint8_t, 65536> part{};
  while (true) {
    const auto count = ::read(descriptor, part.data(), part.size());
    if (count == 0) {
      return content;
    }
    if (count > 0) {
      content.insert(content.end(), part.begin(), part.begin() + count);
    } else if (errno != EINTR) {
      Descriptor::failed(path);
    }
  }
}

std::size_t pageSize() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

}  // namespace

struct MappedFile::Mapping {
  Mapping(int file, std::size_t length, const std::string& name)
      : descriptor(::fcntl(file, F_DUPFD_CLOEXEC, 0)),
        size(length),
        begin(::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0)) {
    if (descriptor < 0 || begin == MAP_FAILED) {
      Descriptor::failed(name);
    }
    ::madvise(begin, size, MADV_SEQUENTIAL);
  }
  ~Mapping() {
    ::munmap(begin, size);
    ::close(descriptor);
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  const int descriptor;
  const std::size_t size;
  void* const begin;
  volatile std::sig_atomic_t hasLostBytes = 0;
};

namespace {

// The handler runs in the thread that looked, which changes nothing here at that moment. Files are
// mapped in one thread.
std::vector<MappedFile::Mapping*> mappings;

/// Puts zeros where the bytes of a file are gone.
void handleLostBytes(int signal, siginfo_t* information, void* /*context*/) {
  const auto address = reinterpret_cast<std::uintptr_t>(information->si_addr);
  for (MappedFile::Mapping* const mapping : mappings) {
    const auto begin = reinterpret_cast<std::uintptr_t>(mapping->begin);
    if (begin <= address && address < begin + mapping->size) {
      const std::size_t gone = (address - begin) / pageSize() * pageSize();
      if (::mmap(static_cast<std::uint8_t*>(mapping->begin) + gone, mapping->size - gone, PROT_READ,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED) {
        break;
      }
      mapping->hasLostBytes = 1;
      return;
    }
  }
  std::signal(signal, SIG_DFL);  // The same again is for the system to handle.
}

void handleLostBytesFromNowOn() {
  static const bool isHandled = [] {
    struct sigaction action = {};
    action.sa_sigaction = handleLostBytes;
    action.sa_flags = SA_SIGINFO;
    return ::sigaction(SIGBUS, &action, nullptr) == 0;
  }();
  static_cast<void>(isHandled);
}

}  // namespace

MappedFile::MappedFile(const std::string& path) { load(Descriptor(path).number, path); }

MappedFile::MappedFile(int descriptor, const std::string& name) { load(descriptor, name); }

void MappedFile::load(int descriptor, const std::string& name) {
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0) {
    Descriptor::failed(name);
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  if (S_ISREG(status.st_mode) && size > 0) {
    handleLostBytesFromNowOn();
    mapping_ = std::make_unique<Mapping>(descriptor, size, name);
    mappings.push_back(mapping_.get());
    content_ = {static_cast<const std::uint8_t*>(mapping_->begin), size};
  } else {
    copy_ = readToEnd(descriptor, name);
    content_ = copy_;
  }
  if (content_.empty()) {
    throw InputError(name, "is empty; record the capture again");
  }
}

MappedFile::~MappedFile() { std::erase(mappings, mapping_.get()); }

MappedFile::MappedFile(MappedFile&& other) noexcept
    : copy_(std::move(other.copy_)),
      content_(std::exchange(other.content_, {})),
      mapping_(std::move(other.mapping_)) {}

bool MappedFile::hasLostBytes() const { return mapping_ && mapping_->hasLostBytes != 0; }

bool MappedFile::isWhole() const {
  struct stat status = {};
  return !mapping_ || (mapping_->hasLostBytes == 0 && ::fstat(mapping_->descriptor, &status) == 0 &&
                       static_cast<std::size_t>(status.st_size) >= mapping_->size);
}

void MappedFile::release(std::size_t count) const {
  if (mapping_) {
    ::madvise(mapping_->begin, count / pageSize() * pageSize(), MADV_DONTNEED);
  }
}

}  // namespace nimbrel
