#include "host/terminal/Progress.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

class ProgressOnTerminal : public TerminalTest {};

TEST_F(ProgressOnTerminal, IsAPercentageOnOneLineThatIsClearedInTheEnd) {
  Output output(terminal.program());
  Progress progress(output, true);
  for (bool isShown = false; !isShown;) {
    progress.step([&] {
      isShown = true;
      return 0.429;
    });
  }
  EXPECT_EQ(terminal.shownUpTo("%"), "\r42 %");
  progress.clear();
  EXPECT_EQ(terminal.shownUpTo("K"), "\r\033[K");
}

}  // namespace
}  // namespace nimbrel
