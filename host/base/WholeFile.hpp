#pragma once

#include <optional>
#include <string>

#include "host/base/Output.hpp"

namespace nimbrel {

/// A file that is there whole or not at all: it is written to a temporary file in the same folder,
/// which is renamed at the end. A pipe or a terminal is written to directly.
class WholeFile {
 public:
  /// Throws InputError if the file cannot be made, or is there already and `overwrites` is
  /// false.
  WholeFile(std::string path, bool overwrites);
  /// Removes the temporary file unless it was kept.
  ~WholeFile();
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  Output& output() { return *output_; }

  /// Writes the rest and puts the file in its place. Throws InputError if another file came to
  /// be there, and std::system_error if it cannot be written.
  void keep();

 private:
  std::string path_;
  bool overwrites_;
  std::string beside_;  // empty if it is written to directly
  int descriptor_ = -1;
  std::optional<Output> output_;
};

}  // namespace nimbrel
