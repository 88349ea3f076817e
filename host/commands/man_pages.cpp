#include <algorithm>
#include <filesystem>

#include "host/commands/commands.h"
#include "platform/support/files.h"

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

/// The name of the page: "glancery-app-sign-in".
std::string nameOf(std::string words) {
  std::ranges::replace(words, ' ', '-');
  return words;
}

/// The page of a command; `words` are what is typed, such as "glancery app sign-in".
std::string manPage(const Command& command, const std::string& words, const std::string& version) {
  const std::string name = nameOf(words);
  std::string synopsis;
  std::string options;
  for (const OptionGroup& group : command.groups) {
    options += group.name.empty() ? "" : ".SS " + roff(group.name) + "\n";
    for (const Option& option : group.options) {
      synopsis += option.isPositional() ? "\n.I " + roff(option.name) : "";
      options += ".TP\n.B " + roff(option.name) + "\n" + roff(option.description) + "\n";
    }
  }
  std::string page = ".TH " + name + R"( 1 "" "Glancery )" + roff(version) + "\"\n.SH NAME\n" +
                     roff(name) + " \\- " + roff(command.description) + "\n.SH SYNOPSIS\n.B " +
                     roff(words) + synopsis + "\n[\\fIoptions\\fR]" +
                     (command.commands.empty() ? "\n" : "\n.I command\n");
  page += options.empty() ? "" : ".SH OPTIONS\n" + options;
  page += command.commands.empty() ? "" : ".SH COMMANDS\n";
  for (const Command& sub : command.commands) {
    page += ".TP\n.BR " + roff(name + "-" + sub.name) + " (1)\n" + roff(sub.description) + "\n";
  }
  page += command.examples.empty() ? "" : ".SH EXAMPLES\n";
  for (const std::string& example : command.examples) {
    page += ".nf\n" + roff("glancery " + example) + "\n.fi\n";
  }
  return page + (command.notes.empty() ? "" : ".SH NOTES\n.nf\n" + roff(command.notes) + "\n.fi\n");
}

void write(const Command& command,
           const std::string& words,
           const std::string& version,
           const fs::path& folder) {
  const fs::path path = folder / (nameOf(words) + ".1");
  if (const auto error = platform::writeFile(path, manPage(command, words, version))) {
    throw CommandError(path.string() + " can't be written: " + error.message());
  }
  for (const Command& sub : command.commands) {
    write(sub, words + " " + sub.name, version, folder);
  }
}

}  // namespace

// clang-format off
Command manCommand(const Command& program, const std::string& version) {
  static std::string folder;
  return {
      .name = "man",
      .description = "Writes a manual page for each command",
      .groups = {{"Output", {{"-o,--output DIR", &folder, "Folder for the pages", Required()}}}},
      .examples = {"man -o ~/.local/share/man/man1"},
      .run = [&program, version] {
        fs::create_directories(folder);
        write(program, program.name, version, folder);
      }};
}
// clang-format on

}  // namespace host
