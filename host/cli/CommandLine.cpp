#include "host/cli/CommandLine.hpp"

#include <CLI/CLI.hpp>
#include <charconv>
#include <utility>

namespace nimbrel {

namespace {

/// Where the descriptions of options begin.
constexpr std::size_t kHelpColumn = 20;

void appendHelp(std::string& out, const CLI::Option& option) {
  std::string head = "  " + CLI::detail::find_and_replace(option.get_name(false, true), ",", ", ");
  if (!option.get_option_text().empty()) {
    head += " " + option.get_option_text();
  }
  const std::string margin(kHelpColumn, ' ');
  if (head.size() + 2 <= kHelpColumn) {
    head.resize(kHelpColumn, ' ');
  } else {
    head += "\n" + margin;
  }
  out += head + CLI::detail::find_and_replace(option.get_description(), "\n", "\n" + margin) + "\n";
}

}  // namespace

CommandLine::CommandLine(std::string command, std::string_view introduction, std::string_view notes)
    : command_(std::move(command)),
      introduction_(introduction),
      notes_(notes),
      parser_(std::make_unique<CLI::App>()) {
  parser_->set_help_flag();
  // What is left over is named in words of our own.
  parser_->allow_extras();
}

CommandLine::~CommandLine() = default;

void CommandLine::addOption(const std::string& name, const std::string& valueName,
                            const std::string& help, Taker take) {
  const auto takeAll = [take = std::move(take)](const CLI::results_t& values) {
    for (const std::string& value : values) {
      take(value);
    }
    return true;
  };
  parser_->add_option(name, takeAll, help)
      ->option_text(valueName)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
}

void CommandLine::addOption(const std::string& name, const std::string& valueName,
                            const std::string& help, std::optional<std::string>& text) {
  addOption(name, valueName, help, [&text](const std::string& value) { text = value; });
}

void CommandLine::addFlag(const std::string& name, const std::string& help, bool& isGiven) {
  parser_->add_flag(name, isGiven, help)->disable_flag_override();
}

void CommandLine::addArguments(const std::string& noun, std::size_t most, Taker take) {
  noun_ = noun;
  mostArguments_ = most;
  takeArgument_ = std::move(take);
}

void CommandLine::addArgument(const std::string& noun, std::optional<std::string>& argument) {
  addArguments(noun, 1, [&argument](const std::string& value) { argument = value; });
}

bool CommandLine::parse(int count, const char* const* arguments) {
  bool isHelpWanted = false;
  addFlag("-h,--help", "this text", isHelpWanted);
  std::vector<std::string> given;
  const auto keep = [&given](const CLI::results_t& values) {
    given = values;
    return true;
  };
  constexpr int kNoLimit = 1 << 20;
  parser_->add_option("arguments", keep)->expected(0, kNoLimit)->allow_extra_args();
  try {
    parser_->parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    throw inOurWords(error.what());
  }
  if (isHelpWanted) {
    return false;
  }
  for (const std::string& leftOver : parser_->remaining()) {
    if (leftOver != "--") {
      throw unknownOption(leftOver);
    }
  }
  takeArguments(given);
  return true;
}

void CommandLine::takeArguments(const std::vector<std::string>& arguments) const {
  if (mostArguments_ == 0 && !arguments.empty()) {
    throw UsageError(command_ + " takes no argument; leave '" + arguments.front() + "' out");
  }
  if (arguments.size() > mostArguments_) {
    const std::string most = std::to_string(mostArguments_);
    throw UsageError("more than " + (mostArguments_ == 1 ? "one " : most + " ") + noun_ +
                     " given; " + command_ + " takes " + (mostArguments_ == 1 ? "one" : most));
  }
  for (const std::string& argument : arguments) {
    takeArgument_(argument);
  }
}

UsageError CommandLine::unknownOption(const std::string& option) const {
  const std::string name = option.substr(0, option.find('='));
  std::string advice;
  for (const CLI::Option* known : parser_->get_options()) {
    const std::string knownName = known->get_name(false, true);
    if (name.size() > 2 && (knownName.starts_with(name) || name.starts_with(knownName))) {
      advice = "did you mean " + knownName + "? ";
    }
  }
  return UsageError("unknown option " + option + "; " + advice + "see nimbrel " + command_ +
                    " --help");
}

/// CLI11's texts begin with the name of the option that they are about.
UsageError CommandLine::inOurWords(const std::string& problem) const {
  const std::string option = problem.substr(0, problem.find_first_of(": "));
  const std::string advice = "; see nimbrel " + command_ + " --help";
  if (problem.ends_with("missing")) {
    return UsageError("the option " + option + " lacks its value" + advice);
  }
  if (problem.ends_with("flag override")) {
    const std::string name = "--" + option.substr(option.find_first_not_of('-'));
    return UsageError("the option " + name + " takes no value" + advice);
  }
  return UsageError(problem + advice);
}

std::string CommandLine::help() const {
  std::string text(introduction_);
  text.append("\n");
  for (const CLI::Option* option : parser_->get_options()) {
    if (option->nonpositional()) {
      appendHelp(text, *option);
    }
  }
  return text.append(notes_);
}

double positiveNumber(const std::string& text, std::string_view name) {
  double number = 0.0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  const std::string given = std::string(name) + " '" + text + "' ";
  const std::string advice = "; give for example " + std::string(name) + " 10";
  if (error != std::errc{} || stop != end || !(number > 0.0)) {
    throw UsageError(given + "is not a number above 0" + advice);
  }
  if (number > 1e9) {
    throw UsageError(given + "is more than a billion" + advice);
  }
  return number;
}

}  // namespace nimbrel
