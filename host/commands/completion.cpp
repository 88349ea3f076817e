#include <algorithm>
#include <iostream>
#include <iterator>

#include "host/commands/commands.h"

namespace host {

namespace {

// The scripts ask the program for the candidates, so they never go out of date.
constexpr const char* kBash = R"(_glancery() {
  local IFS=$'\n'
  COMPREPLY=($("${COMP_WORDS[0]}" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
}
complete -o default -F _glancery glancery
)";

constexpr const char* kZsh = R"(#compdef glancery
_glancery() {
  local -a candidates
  candidates=("${(@f)$("${words[1]}" --complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
  candidates=(${candidates:#})
  if (( $#candidates )); then compadd -a candidates; else _files; fi
}
if [ "$funcstack[1]" = _glancery ]; then _glancery; else compdef _glancery glancery; fi
)";

constexpr const char* kFish = R"(function __glancery_complete
  set -l words (commandline -opc) (commandline -ct)
  command $words[1] --complete $words[2..-1] 2>/dev/null
end
complete -c glancery -a '(__glancery_complete)'
)";

/// The option of that name, such as "-o" or "--output", or null.
const Option* optionNamed(const Command& command, const std::string& name) {
  for (const Option& option : command.options()) {
    if (("," + option.names() + ",").find("," + name + ",") != std::string::npos) {
      return &option;
    }
  }
  return nullptr;
}

}  // namespace

// clang-format off
Command completionCommand() {
  static std::string shell;
  return {
      .name = "completion",
      .description = "Prints the script that completes arguments in a shell",
      .groups = {{"", {
          {"SHELL", &shell, "bash, zsh or fish", OneOf([] { return Words{"bash", "zsh", "fish"}; })}}}},
      .examples = {"completion bash > ~/.local/share/bash-completion/completions/glancery"},
      .run = [] { std::cout << (shell == "bash" ? kBash : shell == "zsh" ? kZsh : kFish); }};
}
// clang-format on

Words completions(const Command& program, const Words& words) {
  const Command* command = &program;
  const Option* awaiting = nullptr;  // The option whose value the next word is.
  std::size_t positionals = 0;
  const std::string typed = words.empty() ? "" : words.back();
  for (std::size_t index = 0; index + 1 < words.size(); ++index) {
    const std::string& word = words[index];
    if (awaiting) {
      awaiting = nullptr;
    } else if (word.starts_with('-')) {
      const Option* option = optionNamed(*command, word);
      awaiting = option && !option->value().empty() ? option : nullptr;
    } else if (const Command* sub = command->find(word)) {
      command = sub;
      positionals = 0;
    } else {
      ++positionals;
    }
  }

  Words candidates;
  const auto offer = [&](const Words& offered) {
    std::ranges::copy_if(offered, std::back_inserter(candidates), [&](const std::string& word) {
      return word.starts_with(typed);
    });
  };
  if (awaiting) {
    offer(awaiting->words());
    return candidates;
  }
  for (const Option& option : command->options()) {
    if (!option.isPositional()) {
      offer({option.names().substr(option.names().find("--"))});
    } else if (std::holds_alternative<Words*>(option.target) || positionals-- == 0) {
      offer(option.words());
    }
  }
  for (const Command& sub : command->commands) {
    offer({sub.name});
  }
  offer(command == &program ? Words{"--help", "--version"} : Words{"--help"});
  return candidates;
}

}  // namespace host
