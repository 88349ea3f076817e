#include "host/commands/command_line.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <sstream>
#include <type_traits>

#include <CLI/CLI.hpp>

namespace host {

namespace {

/// Checks a word before it is converted; an `InvalidValue` names the option.
void check(const Option& option, const std::string& word) {
  if (const auto* range = std::get_if<Range>(&option.rule)) {
    double number = 0;
    const bool parsed = CLI::detail::lexical_cast(word, number);
    // Written so that NaN is refused.
    if (parsed && !(number >= static_cast<double>(range->least) &&
                    number <= static_cast<double>(range->most))) {
      throw InvalidValue(
          option.names(),
          word,
          "give " + std::to_string(range->least) + " to " + std::to_string(range->most));
    }
  } else if (std::holds_alternative<OneOf>(option.rule)) {
    const Words words = option.words();
    if (std::ranges::find(words, word) == words.end()) {
      throw InvalidValue(option.names(), word, "give one of " + listOf(words));
    }
  }
}

void define(CLI::App& app, const Option& option, const std::string& group) {
  CLI::Option* added = std::visit(
      [&](const auto& target) {
        using T = std::remove_cvref_t<decltype(target)>;
        if constexpr (std::is_same_v<T, bool*>) {
          return app.add_flag(option.names(), *target, option.description);
        } else if constexpr (std::is_pointer_v<T>) {
          return app.add_option(option.names(), *target, option.description);
        } else {
          return app.add_option_function(option.names(), target, option.description);
        }
      },
      option.target);
  if (!std::holds_alternative<bool*>(option.target)) {
    const bool isList = std::holds_alternative<Words*>(option.target);
    added->type_name(option.value())->allow_extra_args(isList && option.isPositional());
  }
  added->group(group)->required(option.isRequired())->check([&option](const std::string& word) {
    check(option, word);
    return std::string();
  });
}

/// Commands that are not among the words have a name and a description only, as defining all
/// options of all commands takes longer than most commands.
void define(CLI::App& app, const Command& command, const Words& words) {
  for (const OptionGroup& group : command.groups) {
    for (const Option& option : group.options) {
      define(app, option, group.name);
    }
  }
  std::string footer = command.examples.empty() ? "" : "Examples:\n";
  for (const std::string& example : command.examples) {
    footer += "  glancery " + example + "\n";
  }
  app.footer(footer + (footer.empty() || command.notes.empty() ? "" : "\n") + command.notes);
  for (const Command& sub : command.commands) {
    CLI::App& added = *app.add_subcommand(sub.name, sub.description);
    if (std::ranges::find(words, sub.name) != words.end()) {
      define(added, sub, words);
    }
  }
  if (command.run) {
    app.callback([&app, &command] {
      if (app.get_subcommands().empty()) {
        command.run();
      }
    });
  } else {
    app.require_subcommand(1);
  }
}

/// Names a word that stands where only a command can, and is not one.
void checkCommandName(const Command& program, int argc, char** argv) {
  const Command* group = &program;
  for (int index = 1; index < argc && argv[index][0] != '-' && !group->commands.empty(); ++index) {
    const Command* found = group->find(argv[index]);
    if (!found) {
      throw InvalidValue(
          "unknown command", argv[index], "give one of " + listOf(group->commands, &Command::name));
    }
    group = found;
  }
}

}  // namespace

bool Option::isRequired() const {
  return std::holds_alternative<Required>(rule) || (isPositional() && name.front() != '[');
}

std::string Option::names() const {
  return name.front() == '[' ? name.substr(1, name.size() - 2) : name.substr(0, name.find(' '));
}

std::string Option::value() const {
  const std::size_t space = name.find(' ');
  return space == std::string::npos ? "" : name.substr(space + 1);
}

Words Option::words() const {
  const auto* only = std::get_if<OneOf>(&rule);
  const auto* suggested = std::get_if<Suggested>(&rule);
  return only ? only->words() : suggested ? suggested->words() : Words();
}

const Command* Command::find(const std::string& word) const {
  const auto found = std::ranges::find(commands, word, &Command::name);
  return found == commands.end() ? nullptr : &*found;
}

int runCommandLine(const Command& program, const char* version, int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--complete") == 0) {
    for (const std::string& word : completions(program, {argv + 2, argv + argc})) {
      std::cout << word << '\n';
    }
    return kDone;
  }
  CLI::App app(program.description, program.name);
  app.get_formatter()->label("REQUIRED", "(required)");
  app.set_version_flag("--version", version);
  define(app, program, Words(argv + 1, argv + argc));
  try {
    checkCommandName(program, argc, argv);
    app.parse(argc, argv);
    std::cout.flush();
    if (!std::cout) {
      throw CommandError("can't write to standard output");
    }
    return kDone;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      std::ostringstream text;  // Of --help or --version; CLI11 doubles empty lines.
      app.exit(error, text);
      std::cout << CLI::detail::find_and_replace(text.str(), "\n\n\n", "\n\n");
      return kDone;
    }
    complain(error.what() + std::string(" (see --help)"));
    return kWrongUsage;
  } catch (const std::exception& error) {
    complain(error.what());
    const auto* const ended = dynamic_cast<const CommandError*>(&error);
    const bool isUsage = dynamic_cast<const InvalidValue*>(&error) != nullptr;
    return ended ? ended->status() : isUsage ? kWrongUsage : kNotDone;
  }
}

}  // namespace host
