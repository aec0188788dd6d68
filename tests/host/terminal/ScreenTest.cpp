#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "host/terminal/Interrupt.hpp"
#include "host/terminal/Screen.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

constexpr std::string_view kTaken = "\033[?1049h";
constexpr std::string_view kGivenBack = "\033[?1049l";

/// A program that takes the screen.
class Screened : public TerminalTest {
 protected:
  /// Runs `program` as a shell does, in a process group of its own, for a minute at most.
  static pid_t start(const std::function<void()>& program) {
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);
      alarm(60);
      program();
      _exit(127);
    }
    return child;
  }

  pid_t startCommand() {
    const pid_t child = start([this] {
      dup2(terminal.program(), STDOUT_FILENO);
      execl(NIMBREL_COMMAND, NIMBREL_COMMAND, "scan", "--table", "--speed", "1", nullptr);
    });
    EXPECT_TRUE(terminal.shows(kTaken));
    return child;
  }

  /// Returns the program's status once it has stopped or ended.
  static int statusOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    return status;
  }
};

TEST_F(Screened, IsGivenBackWhileTheCommandIsSuspended) {
  const pid_t child = startCommand();
  kill(child, SIGTSTP);
  ASSERT_TRUE(WIFSTOPPED(statusOf(child)));
  EXPECT_TRUE(terminal.shows(kGivenBack));
  kill(child, SIGCONT);
  EXPECT_TRUE(terminal.shows(kTaken));
  kill(child, SIGINT);
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_TRUE(terminal.shows(kGivenBack));
}

TEST_F(Screened, IsGivenBackByEverySignalThatEndsTheCommand) {
  for (const int signal : {SIGHUP, SIGTERM}) {
    const pid_t child = startCommand();
    kill(child, signal);
    EXPECT_EQ(statusOf(child), 0) << signal;
    EXPECT_TRUE(terminal.shows(kGivenBack)) << signal;
  }
  for (const int signal : {SIGQUIT, SIGABRT, SIGUSR1, SIGSEGV}) {
    const pid_t child = startCommand();
    kill(child, signal);
    const int status = statusOf(child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal;
    EXPECT_TRUE(terminal.shows(kGivenBack)) << signal;
  }
}

TEST_F(Screened, IsGivenBackAtTheSecondInterruptOfAProgramThatHangs) {
  const pid_t child = start([this] {
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

TEST_F(Screened, IsNotTakenOnADumbTerminal) {
  const pid_t child = start([this] {
    setenv("TERM", "dumb", 1);
    dup2(terminal.program(), STDOUT_FILENO);
    dup2(terminal.program(), STDERR_FILENO);
    execl(NIMBREL_COMMAND, NIMBREL_COMMAND, "scan", "--table", "--speed", "1000", "--for", "9",
          nullptr);
  });
  const std::string shown = terminal.shownUpTo("; took ");
  EXPECT_NE(shown.find("major/minor"), std::string::npos);
  EXPECT_EQ(shown.find('\033'), std::string::npos) << shown;
  EXPECT_EQ(statusOf(child), 0);
}

}  // namespace
}  // namespace nimbrel
