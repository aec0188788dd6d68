#include <unistd.h>

#include <array>
#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>

#include "host/base/InputError.hpp"
#include "host/cli/CommandLine.hpp"
#include "host/cli/Commands.hpp"

namespace {

using nimbrel::UsageError;

struct Command {
  std::string_view name;
  std::string_view help;
  int (*run)(int count, const char* const* arguments);
};

constexpr std::array kCommands = {
    Command{"scan", "detect the beacons in a Bluetooth capture, or live", nimbrel::scanCommand},
    Command{"explain", "say of every device what became of its advertisements, and why",
            nimbrel::explainCommand},
    Command{"report", "the same as a page to look at: signal, distance and events over time",
            nimbrel::reportCommand},
    Command{"simulate", "play an application, a phone and the air around the plug-in",
            nimbrel::simulateCommand},
    Command{"desk", "the same with steps as they come, for an application's tests",
            nimbrel::deskCommand},
    Command{"convert", "a capture to a scenario, a scenario to a capture, or a part of either",
            nimbrel::convertCommand},
};

constexpr std::string_view kExamples = R"(
nimbrel help COMMAND, or nimbrel COMMAND --help, has the options of a command.
nimbrel --version, or -V, prints the version.

examples:
  nimbrel scan                       the recording that comes with the program
  nimbrel scan walk.btsnoop --json --quiet | jq .
  nimbrel explain walk.btsnoop       why a beacon was not detected
  nimbrel report -o walk.html        a page that shows it
  nimbrel convert walk.btsnoop walk.jsonl --generic
  nimbrel simulate                   the scenario that comes with the program

exit status: 0 it ended as asked, 1 it failed on the way, 2 the command line or the input could
not be used
)";

std::string help() {
  std::string text =
      "nimbrel: beacon detection for Flutter on iOS, on a desk\n\n"
      "usage: nimbrel COMMAND [ARGUMENT ...]\n\n";
  for (const Command& command : kCommands) {
    std::string name(command.name);
    name.resize(10, ' ');
    text.append("  ").append(name).append(command.help).append("\n");
  }
  return text.append(kExamples);
}

const Command& commandNamed(std::string_view name) {
  std::string known;
  for (const Command& command : kCommands) {
    if (command.name == name) {
      return command;
    }
    known.append(known.empty() ? "" : ", ").append(command.name);
  }
  throw UsageError("unknown command '" + std::string(name) + "'; the commands are " + known +
                   ", see nimbrel --help");
}

int run(int count, const char* const* arguments) {
  if (count < 2) {
    throw UsageError("no command given; see nimbrel --help");
  }
  const std::string_view name = arguments[1];
  if (name == "help" && count > 2) {
    const char* const line[] = {arguments[2], "--help"};
    return commandNamed(arguments[2]).run(2, line);
  }
  if (name == "--help" || name == "-h" || name == "help") {
    std::cout << help() << std::flush;
    return 0;
  }
  if (name == "--version" || name == "-V") {
    std::cout << "nimbrel " NIMBREL_VERSION << std::endl;
    return 0;
  }
  return commandNamed(name).run(count - 1, arguments + 1);
}

}  // namespace

int main(int count, char** arguments) {
  // A reader that has had enough is no failure: the write fails with EPIPE instead of a signal.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that reaches its limit is a full disk: the write fails with EFBIG instead of a signal.
  std::signal(SIGXFSZ, SIG_IGN);
  // Texts are UTF-8 wherever they come from, and columns count the width of their characters.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  try {
    return run(count, arguments);
  } catch (const nimbrel::UsageError& error) {
    std::cerr << "nimbrel: " << error.what() << '\n';
    return 2;
  } catch (const nimbrel::InputError& error) {
    std::cerr << "nimbrel: " << error.what() << '\n';
    return 2;
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::broken_pipe) {
      return 0;
    }
    std::cerr << "nimbrel: " << error.what() << '\n';
    return 1;
  } catch (const std::exception& error) {
    std::cerr << "nimbrel: " << error.what() << '\n';
    return 1;
  }
}
