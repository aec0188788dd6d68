#include "host/cli/Commands.hpp"
namespace nimbrel {
int scanCommand(int, char**) { throw UsageError("not yet"); }
}  // namespace nimbrel
