#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <string_view>
#include <thread>

#include "host/cli/Interrupt.hpp"
#include "host/cli/Screen.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

constexpr std::string_view kTaken = "\033[?1049h";
constexpr std::string_view kGivenBack = "\033[?1049l";

/// Runs a program as a shell does, in a process group of its own.
pid_t start(const std::function<void()>& program) {
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    program();
    _exit(127);
  }
  return child;
}

/// The program's status once it has stopped or ended. One that does not in ten seconds is killed.
int statusOf(pid_t child) {
  int status = 0;
  for (int turn = 0; turn < 1000; ++turn) {
    if (waitpid(child, &status, WUNTRACED | WNOHANG) == child) {
      return status;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return status;
}

TEST(Screen, IsGivenBackWhileTheCommandIsSuspended) {
  Terminal terminal(80, 24);
  const pid_t child = start([&] {
    dup2(terminal.program(), STDOUT_FILENO);
    execl(NIMBREL_COMMAND, NIMBREL_COMMAND, "scan", "--table", "--speed", "1", nullptr);
  });
  EXPECT_TRUE(terminal.shows(kTaken));
  kill(child, SIGTSTP);
  ASSERT_TRUE(WIFSTOPPED(statusOf(child)));
  EXPECT_TRUE(terminal.shows(kGivenBack));
  kill(child, SIGCONT);
  EXPECT_TRUE(terminal.shows(kTaken));
  kill(child, SIGINT);
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_TRUE(terminal.shows(kGivenBack));
}

TEST(Screen, IsGivenBackAtTheSecondInterruptOfAProgramThatHangs) {
  Terminal terminal(80, 24);
  const pid_t child = start([&] {
    MainQueue queue;
    Output output(terminal.program());
    const Interrupt interrupt(queue);
    const Screen screen(output);
    kill(getpid(), SIGINT);
    kill(getpid(), SIGINT);
  });
  EXPECT_TRUE(terminal.shows(kTaken));
  const int status = statusOf(child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
  EXPECT_TRUE(terminal.shows(kGivenBack));
}

}  // namespace
}  // namespace nimbrel
