#include "host/commands/completion.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include <CLI/CLI.hpp>

#include "host/phone/screens.h"
#include "platform/foundation/locale/locale.h"
#include "store/shared_store.h"

namespace host {

namespace {

using Words = std::vector<std::string>;

/// The tz database's zones, which `zone1970.tab` lists in its third column.
Words timeZones() {
  Words zones = {"UTC"};
  std::ifstream table("/usr/share/zoneinfo/zone1970.tab");
  for (std::string line; std::getline(table, line);) {
    std::istringstream columns(line);
    std::string countries, coordinates, zone;
    if (!line.starts_with('#') && columns >> countries >> coordinates >> zone) {
      zones.push_back(zone);
    }
  }
  return zones;
}

Words screens() {
  Words names;
  for (const ScreenClass& screen : screenClasses()) {
    names.emplace_back(screen.name);
  }
  return names;
}

Words kinds() {
  return {glancery::kCheckinKind,
          glancery::kStreakKind,
          glancery::kAffirmationKind,
          glancery::kBinnacleKind};
}

/// An option or a positional argument whose values are known, under the command that it belongs to
/// if its name alone does not tell.
struct KnownValues {
  const char* name;
  std::function<Words()> values;
  const char* command = nullptr;
};

const KnownValues kKnownValues[] = {
    {"KIND", kinds},
    {"--only", kinds},
    {"KEY",
     [] {
       return Words{glancery::kStreakDataKey,
                    glancery::kSharedUidKey,
                    glancery::kMoodsDataKey,
                    glancery::kSuccessImageIndexKey,
                    glancery::kFailImageIndexKey,
                    glancery::kSuccessIndexLastUpdateDateKey,
                    glancery::kFailIndexLastUpdateDateKey,
                    glancery::kAffirmationDataKey,
                    glancery::kAffirmationLastFetchKey};
     }},
    {"NAME",
     [] { return Words(glancery::kMoodNames.begin(), glancery::kMoodNames.end()); },
     "mood"},
    {"--type",
     [] {
       return Words{"string", "integer", "real", "boolean", "date", "data", "text-data"};
     }},
    {"--of",
     [] {
       return Words{"placeholder", "snapshot", "timeline"};
     }},
    {"--scheme",
     [] {
       return Words{"light", "dark"};
     }},
    {"--device", screens},
    {"--time-zone", timeZones},
    {"--locale", platform::availableLocaleIdentifiers},
    {"SHELL",
     [] {
       return Words{"bash", "zsh", "fish"};
     }},
};

/// The values of an option or positional argument of `command`; none if they are not known.
Words valuesOf(const CLI::App& command, const CLI::Option& option) {
  for (const KnownValues& known : kKnownValues) {
    if (option.check_name(known.name) && (!known.command || command.get_name() == known.command)) {
      return known.values();
    }
  }
  return {};
}

const CLI::Option* optionNamed(const CLI::App& command, const std::string& name) {
  return name.starts_with('-') ? command.get_option_no_throw(name) : nullptr;
}

const CLI::App* subcommandNamed(const CLI::App& command, const std::string& name) {
  const auto found =
      command.get_subcommands([&](const CLI::App* sub) { return sub->get_name() == name; });
  return found.empty() ? nullptr : found.front();
}

/// Every name that may begin an argument of the command: its subcommands and its long options.
Words namesOf(const CLI::App& command) {
  Words names;
  for (const CLI::App* sub : command.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(sub->get_name());
  }
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      if (!option->get_group().empty()) {
        names.push_back("--" + name);
      }
    }
  }
  return names;
}

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

}  // namespace

std::string completionScript(const std::string& shell) {
  return shell == "bash" ? kBash : shell == "zsh" ? kZsh : shell == "fish" ? kFish : "";
}

std::vector<std::string> completions(const CLI::App& app, const Words& words) {
  const CLI::App* command = &app;
  const CLI::Option* awaiting = nullptr;  // The option whose value the next word is.
  std::size_t positionals = 0;
  const std::string typed = words.empty() ? "" : words.back();
  for (std::size_t index = 0; index + 1 < words.size(); ++index) {
    const std::string& word = words[index];
    if (awaiting) {
      awaiting = nullptr;
    } else if (const CLI::Option* option = optionNamed(*command, word)) {
      awaiting = option->get_items_expected_max() > 0 ? option : nullptr;
    } else if (const CLI::App* sub = subcommandNamed(*command, word)) {
      command = sub;
      positionals = 0;
    } else {
      ++positionals;
    }
  }

  Words candidates;
  if (awaiting) {
    candidates = valuesOf(*command, *awaiting);
  } else {
    for (const CLI::Option* option :
         command->get_options([](const CLI::Option* one) { return one->get_positional(); })) {
      if (positionals == 0) {
        candidates = valuesOf(*command, *option);
        break;
      }
      --positionals;
    }
    std::ranges::copy(namesOf(*command), std::back_inserter(candidates));
  }
  std::erase_if(candidates, [&](const std::string& word) { return !word.starts_with(typed); });
  return candidates;
}

}  // namespace host
