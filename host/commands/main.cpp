#include <iostream>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/commands/completion.h"
#include "host/commands/man_pages.h"
#include "host/commands/version.h"
#include "host/phone/command_error.h"

namespace {

/// A word where only the name of a command can stand is one, or is named in an error.
void checkCommandName(const CLI::App& app, int argc, char** argv) {
  const CLI::App* group = &app;
  for (int index = 1; index < argc && argv[index][0] != '-'; ++index) {
    const auto commands = group->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty()) {
      return;
    }
    std::string names;
    const CLI::App* next = nullptr;
    for (const CLI::App* command : commands) {
      names += (names.empty() ? "" : ", ") + command->get_name();
      next = command->get_name() == argv[index] ? command : next;
    }
    if (!next) {
      throw host::wrongValue("no command", argv[index], "give one of " + names);
    }
    group = next;
  }
}

/// Commands for installing: the shells' completion and the manual.
void addReferenceCommands(CLI::App& app) {
  CLI::App* completion = app.add_subcommand(
      "completion", "Prints the script that completes arguments in bash, zsh or fish");
  const auto shell = std::make_shared<std::string>();
  completion->add_option("SHELL", *shell, "bash, zsh or fish")->required();
  completion->callback([shell] {
    const std::string script = host::completionScript(*shell);
    if (script.empty()) {
      throw host::wrongValue("SHELL", *shell, "give bash, zsh or fish");
    }
    std::cout << script;
  });
  CLI::App* man = app.add_subcommand("man", "Writes a manual page for each command");
  const auto folder = std::make_shared<std::string>();
  man->add_option("-o,--output", *folder, "Folder for the pages")->required();
  man->callback([&app, folder] { host::writeManPages(app, *folder); });
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Glancery's widget host: what a phone would be around the widget extension.",
               "glancery");
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0 done, 1 it could not be done, 2 wrong usage, 3 a comparison differed.\n"
      "Every command has --help.");
  host::addGalleryCommand(app);
  host::addProviderCommands(app);
  host::addRenderCommand(app);
  host::addSheetCommand(app);
  host::addTapCommand(app);
  host::addStoreCommand(app);
  host::addAppCommand(app);
  host::addDownloadsCommand(app);
  host::addApiCommand(app);
  host::addHomeCommand(app);
  addReferenceCommands(app);
  app.set_version_flag("--version", host::version());
  if (argc > 1 && std::string_view(argv[1]) == "--complete") {
    for (const std::string& word : host::completions(app, {argv + 2, argv + argc})) {
      std::cout << word << '\n';
    }
    return host::kDone;
  }
  try {
    checkCommandName(app, argc, argv);
    app.parse(argc, argv);
    std::cout.flush();
    if (!std::cout) {
      throw host::CommandError("standard output can't be written");
    }
    return host::kDone;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      return app.exit(error);  // Help was asked for.
    }
    std::cerr << "glancery: " << error.what() << " (see --help)\n";
    return host::kWrongUsage;
  } catch (const host::CommandError& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return error.status();
  } catch (const std::exception& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return host::kNotDone;
  }
}
