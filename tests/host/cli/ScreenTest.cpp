#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "host/cli/Interrupt.hpp"
#include "host/cli/Screen.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

TEST(Screen, IsGivenBackWhileSuspendedAndAtASecondInterrupt) {
  const Terminal terminal(80, 24);
  const pid_t child = fork();
  if (child == 0) {
    // A process group of its own can be suspended, whoever runs the tests.
    setpgid(0, 0);
    MainQueue queue;
    Output output(terminal.program());
    const Interrupt interrupt(queue);
    const Screen screen(output);
    while (true) {
      pause();
    }
  }
  EXPECT_TRUE(terminal.shows("\033[?1049h"));
  int status = 0;
  kill(child, SIGTSTP);
  waitpid(child, &status, WUNTRACED);
  ASSERT_TRUE(WIFSTOPPED(status));
  EXPECT_TRUE(terminal.shows("\033[?1049l"));
  kill(child, SIGCONT);
  EXPECT_TRUE(terminal.shows("\033[?1049h"));
  // The first one stops the queue, which this program does not look at.
  while (waitpid(child, &status, WNOHANG) == 0) {
    kill(child, SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
  EXPECT_TRUE(terminal.shows("\033[?1049l"));
}

}  // namespace
}  // namespace nimbrel
