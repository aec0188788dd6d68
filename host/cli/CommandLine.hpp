#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace nimbrel {

/// A command line that cannot be used. what() says what is wrong and what to do about it.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The options and arguments of one command, and its help text, which is made of them.
class CommandLine {
 public:
  /// `command` is the command's name. The help begins with `introduction` and, after the options,
  /// ends with `notes`; both are whole lines.
  CommandLine(std::string command, std::string_view introduction, std::string_view notes);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  /// Takes one value; throws UsageError if it cannot be used.
  using Taker = std::function<void(const std::string& value)>;

  /// An option such as "--for" with a value, which the help calls `valueName`. `take` is called for
  /// each time that it is given, in their order.
  void addOption(const std::string& name, const std::string& valueName, const std::string& help,
                 Taker take);

  /// The same, for a text that is kept unchanged; the last one counts.
  void addOption(const std::string& name, const std::string& valueName, const std::string& help,
                 std::optional<std::string>& text);

  /// An option without a value, which sets `isGiven`.
  void addFlag(const std::string& name, const std::string& help, bool& isGiven);

  /// The positional arguments, `most` at most; `noun` names one of them in messages.
  void addArguments(const std::string& noun, std::size_t most, Taker take);

  /// One argument at most.
  void addArgument(const std::string& noun, std::optional<std::string>& argument);

  /// Parses `arguments`, which begin with the command's name. Returns false if they ask for the
  /// help. Throws UsageError.
  bool parse(int count, const char* const* arguments);

  [[nodiscard]] std::string help() const;

 private:
  [[nodiscard]] UsageError unknownOption(const std::string& option) const;
  [[nodiscard]] UsageError inOurWords(const std::string& problem) const;
  void takeArguments(const std::vector<std::string>& arguments) const;

  std::string command_;
  std::string_view introduction_;
  std::string_view notes_;
  std::unique_ptr<CLI::App> parser_;
  std::string noun_;
  std::size_t mostArguments_ = 0;
  Taker takeArgument_;
};

/// A number above 0, and up to a billion: the value of the option `name`. Throws UsageError.
double positiveNumber(const std::string& text, std::string_view name);

}  // namespace nimbrel
