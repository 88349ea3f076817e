#include "host/commands/man_pages.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/version.h"

namespace host {

namespace {

namespace fs = std::filesystem;

/// Escapes text for roff: a backslash starts an escape sequence, a leading dot starts a request,
/// and a plain hyphen may be typeset as another character.
std::string roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (escaped.empty() || escaped.back() == '\n') {
      escaped += c == '.' || c == '\'' ? "\\&" : "";
    }
    escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return escaped;
}

/// "-o,--output TEXT": the names of an option with what follows them, or a positional's name.
std::string heading(const CLI::Option& option) {
  if (option.get_positional()) {
    return option.get_name(true);
  }
  const bool takesValue = option.get_items_expected_max() > 0;
  return option.get_name(false, true) + (takesValue ? " " + option.get_type_name() : "");
}

std::vector<const CLI::App*> subcommands(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App*) { return true; });
}

}  // namespace

std::string manPage(const CLI::App& command, const std::string& name) {
  std::string page = ".TH " + name + " 1 \"\" \"Glancery " + roff(version()) + "\"\n.SH NAME\n" +
                     roff(name) + " \\- " + roff(command.get_description()) + "\n.SH SYNOPSIS\n.B ";
  std::string words = name;
  std::ranges::replace(words, '-', ' ');
  page += roff(words);
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) {
      page += "\n.I " + roff(heading(*option));
    }
  }
  page += "\n[\\fIoptions\\fR]";
  page += subcommands(command).empty() ? "\n" : "\n.I command\n";
  std::string section;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group().empty()) {
      continue;
    }
    if (option->get_group() != section) {
      section = option->get_group();
      page += ".SH " + std::string(section == "Options" ? "OPTIONS" : roff(section)) + "\n";
    }
    page += ".TP\n.B " + roff(heading(*option)) + "\n" + roff(option->get_description()) + "\n";
  }
  if (!subcommands(command).empty()) {
    page += ".SH COMMANDS\n";
    for (const CLI::App* sub : subcommands(command)) {
      page += ".TP\n.BR " + roff(name + "-" + sub->get_name()) + " (1)\n" +
              roff(sub->get_description()) + "\n";
    }
  }
  if (!command.get_footer().empty()) {
    page += ".SH NOTES\n.nf\n" + roff(command.get_footer()) + "\n.fi\n";
  }
  return page;
}

void writeManPages(const CLI::App& app, const std::string& folder) {
  fs::create_directories(folder);
  const auto write =
      [&](const auto& self, const CLI::App& command, const std::string& name) -> void {
    const fs::path path = fs::path(folder) / (name + ".1");
    std::ofstream file(path);
    file << manPage(command, name) << std::flush;
    if (!file) {
      throw CommandError("can't write " + path.string());
    }
    for (const CLI::App* sub : subcommands(command)) {
      self(self, *sub, name + "-" + sub->get_name());
    }
  };
  write(write, app, app.get_name());
}

}  // namespace host
