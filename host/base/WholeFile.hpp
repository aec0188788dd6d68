#pragma once

#include <optional>
#include <string>

#include "host/base/Output.hpp"

namespace nimbrel {

/// A file that is in its place whole or not at all: it is written beside it, and renamed in the
/// end. What is no file, such as a pipe or a terminal, is written to directly.
class WholeFile {
 public:
  /// Throws InputError where the file cannot be made, or is there already and `overwrites` is
  /// false.
  WholeFile(std::string path, bool overwrites);
  /// Leaves nothing behind that was not kept.
  ~WholeFile();
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  Output& output() { return *output_; }

  /// Writes the rest and puts the file in its place. Throws InputError where another file came to
  /// be there, and std::system_error where it cannot be written.
  void keep();

 private:
  std::string path_;
  bool overwrites_;
  std::string beside_;  // empty where it is written to directly
  int descriptor_ = -1;
  std::optional<Output> output_;
};

}  // namespace nimbrel
