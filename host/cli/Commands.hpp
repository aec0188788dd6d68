#pragma once

#include <stdexcept>

namespace nimbrel {

/// A command line that cannot be used. what() says what is wrong and what to do about it.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// `nimbrel scan`: `arguments` begin with the command's name. Returns the exit status; throws
/// UsageError, InputError, and std::system_error where the output cannot be written.
int scanCommand(int count, char** arguments);

/// `nimbrel simulate`, in the same way.
int simulateCommand(int count, char** arguments);

}  // namespace nimbrel
