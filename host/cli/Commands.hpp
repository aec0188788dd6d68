#pragma once

namespace nimbrel {

// The commands. `arguments` begin with the command's name. Each returns the exit status; throws
// UsageError, InputError, and std::system_error if the output cannot be written.

int scanCommand(int count, const char* const* arguments);
int explainCommand(int count, const char* const* arguments);
int reportCommand(int count, const char* const* arguments);
int convertCommand(int count, const char* const* arguments);
int deskCommand(int count, const char* const* arguments);
int simulateCommand(int count, const char* const* arguments);

}  // namespace nimbrel
