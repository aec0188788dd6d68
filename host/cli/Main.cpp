#include <unistd.h>

#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>
#include <string_view>
#include <system_error>

#include "host/air/InputError.hpp"
#include "host/cli/Commands.hpp"

namespace {

constexpr std::string_view kHelp = R"(nimbrel: beacon detection for Flutter on iOS, on a desk

usage: nimbrel scan [CAPTURE]        detect the beacons in a Bluetooth capture
       nimbrel simulate [SCENARIO]   play an application, a phone and the air around the plug-in
       nimbrel scan --help           and: nimbrel simulate --help
       nimbrel --version

examples:
  nimbrel scan                       the recording that comes with the program
  nimbrel scan walk.btsnoop --json --quiet | jq .
  nimbrel simulate                   the scenario that comes with the program

exit status: 0 it ended as asked, 1 it failed on the way, 2 the command line or the input could
not be used
)";

int run(int count, char** arguments) {
  using nimbrel::UsageError;
  if (count < 2) {
    throw UsageError("no command given; see nimbrel --help");
  }
  const std::string_view command = arguments[1];
  if (command == "scan") {
    return nimbrel::scanCommand(count - 1, arguments + 1);
  }
  if (command == "simulate") {
    return nimbrel::simulateCommand(count - 1, arguments + 1);
  }
  if (command == "--help" || command == "-h" || command == "help") {
    std::cout << kHelp << std::flush;
    return 0;
  }
  if (command == "--version") {
    std::cout << "nimbrel " NIMBREL_VERSION << std::endl;
    return 0;
  }
  throw UsageError("unknown command '" + std::string(command) +
                   "'; there are scan and simulate, see nimbrel --help");
}

}  // namespace

int main(int count, char** arguments) {
  // A reader that has had enough is no failure: the write fails with EPIPE instead of a signal.
  std::signal(SIGPIPE, SIG_IGN);
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
