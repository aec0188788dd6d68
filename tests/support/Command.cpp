#include "tests/support/Command.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace nimbrel::testing_support {

namespace {

int memoryFile(const std::string& content = "") {
  const int descriptor = memfd_create("stream", MFD_CLOEXEC);
  if (write(descriptor, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    std::abort();
  }
  lseek(descriptor, 0, SEEK_SET);
  return descriptor;
}

std::string contentOf(int descriptor) {
  std::ifstream file("/proc/self/fd/" + std::to_string(descriptor), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Outcome run(int input, int output, const std::vector<std::string>& arguments) {
  std::vector<char*> words{const_cast<char*>(NIMBREL_COMMAND)};
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  const int errors = memoryFile();
  const pid_t child = fork();
  if (child == 0) {
    setenv("TZ", "UTC", 1);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Outcome outcome{
      WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), {}, contentOf(errors)};
  close(errors);
  return outcome;
}

}  // namespace

Outcome runCommand(const std::vector<std::string>& arguments, const std::string& input) {
  const int inputFile = memoryFile(input);
  const int outputFile = memoryFile();
  Outcome outcome = run(inputFile, outputFile, arguments);
  outcome.output = contentOf(outputFile);
  close(inputFile);
  close(outputFile);
  return outcome;
}

Outcome runCommandTo(int output, const std::vector<std::string>& arguments) {
  const int inputFile = memoryFile();
  Outcome outcome = run(inputFile, output, arguments);
  close(inputFile);
  return outcome;
}

TemporaryFile::TemporaryFile(std::string_view content) {
  std::string pattern = (std::filesystem::temp_directory_path() / "nimbrel-XXXXXX").string();
  const int descriptor = mkstemp(pattern.data());
  close(descriptor);
  path_ = pattern;
  std::ofstream(path_, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile() { std::filesystem::remove(path_); }

}  // namespace nimbrel::testing_support
