#include "host/base/NewFile.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace nimbrel {

int makeFile(const std::string& path, bool overwrites) {
  const int descriptor =
      ::open(path.c_str(),
             O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | (overwrites ? O_TRUNC : O_EXCL), 0666);
  if (descriptor >= 0) {
    return descriptor;
  }
  throw errno == EEXIST ? fileExists(path) : fileNotMade(path);
}

InputError fileExists(const std::string& path) {
  return {path, "is there already; name another file, or give --force to replace it"};
}

InputError fileNotMade(const std::string& path) {
  return {path,
          std::string("cannot be written: ") + std::strerror(errno) + "; name a file that can"};
}

}  // namespace nimbrel
