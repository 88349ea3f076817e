#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ranges>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "host/phone/host_error.h"

// The commands of the program as data. Parsing, `--help`, manual pages and completions are all made
// from these definitions.

namespace host {

/// Exit statuses of the program.
inline constexpr int kDone = 0;
inline constexpr int kNotDone = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kDiffers = 3;

/// Ends a command with this line on standard error and this exit status.
class CommandError : public HostError {
 public:
  explicit CommandError(const std::string& line, int status = kNotDone)
      : HostError(line), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

using Words = std::vector<std::string>;

/// What receives an option's value. A `bool` makes the option a flag, a list an option that may be
/// repeated.
using Target = std::variant<std::function<void(const std::string&)>,
                            bool*,
                            int*,
                            double*,
                            std::int64_t*,
                            std::uint16_t*,
                            std::string*,
                            std::vector<std::string>*,
                            std::optional<int>*,
                            std::optional<std::uint16_t>*,
                            std::optional<std::uint64_t>*,
                            std::optional<std::string>*>;

struct Required {};
/// Numbers from `least` to `most`.
struct Range {
  std::int64_t least;
  std::int64_t most;
};
/// The words that completion offers; any other word is wrong usage.
struct OneOf {
  Words (*words)();
};
/// The words that completion offers.
struct Suggested {
  Words (*words)();
};

/// An option or a positional argument.
struct Option {
  /// "-o,--output FILE", or "--json" for a flag; "KIND" for a positional argument, which is
  /// required, "[POINT]" for one that is not.
  std::string name;
  Target target;
  std::string description;
  std::variant<std::monostate, Required, Range, OneOf, Suggested> rule = {};

  bool isPositional() const { return name.front() != '-'; }
  bool isRequired() const;
  /// "-o,--output" or "KIND"
  std::string names() const;
  /// "FILE"; empty for a flag and a positional argument.
  std::string value() const;
  /// What completion offers.
  Words words() const;
};

struct OptionGroup {
  std::string name;
  std::vector<Option> options;
};

/// A command, or the program as a whole.
struct Command {
  std::string name;
  std::string description;
  std::vector<OptionGroup> groups = {};
  /// Command lines without the program's name, and after "# " what they do.
  Words examples = {};
  std::string notes = {};
  /// Runs after parsing; a `CommandError` ends it. Without it, one of `commands` has to follow.
  std::function<void()> run = {};
  std::vector<Command> commands = {};

  /// All options and positional arguments, in order.
  auto options() const {
    return groups | std::views::transform(&OptionGroup::options) | std::views::join;
  }
  /// The command of that name in `commands`, or null.
  const Command* find(const std::string& word) const;
};

/// Parses the arguments and runs the command; returns the program's exit status. Errors go to
/// standard error, in one line. `argv[1] == "--complete"` prints completions of the other words.
int runCommandLine(const Command& program, const char* version, int argc, char** argv);

/// The candidates for the last of `words`, which are the arguments typed so far; that word is
/// incomplete, or empty. Empty where a file or free text stands.
Words completions(const Command& program, const Words& words);

/// The texts of the items.
template <class Items, class TextOf = std::identity>
Words wordsOf(const Items& items, const TextOf& textOf = {}) {
  Words words;
  for (const auto& item : items) {
    words.emplace_back(std::invoke(textOf, item));
  }
  return words;
}

}  // namespace host
