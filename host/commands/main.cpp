#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/completion.h"
#include "host/commands/device_options.h"
#include "host/commands/man_pages.h"
#include "host/commands/version.h"
#include "host/phone/host_error.h"

namespace host {

namespace {

/// Names a word that stands where only a command can, and is not one.
void checkCommandName(const CLI::App& app, int argc, char** argv) {
  const CLI::App* group = &app;
  for (int index = 1; index < argc && argv[index][0] != '-'; ++index) {
    const auto commands = group->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty()) {
      return;
    }
    const auto found = std::ranges::find(commands, argv[index], &CLI::App::get_name);
    if (found == commands.end()) {
      throw InvalidValue("unknown command",
                         argv[index],
                         "give one of " + listOf(commands, std::mem_fn(&CLI::App::get_name)));
    }
    group = *found;
  }
}

/// Commands for installing: the shells' completion and the manual.
void addReferenceCommands(CLI::App& app) {
  CLI::App* completion = app.add_subcommand(
      "completion", "Prints the script that completes arguments in bash, zsh or fish");
  const auto shell = std::make_shared<std::string>();
  completion->add_option("SHELL", *shell, "bash, zsh or fish")->required();
  completion->callback([shell] {
    const std::string script = completionScript(*shell);
    if (script.empty()) {
      throw InvalidValue("SHELL", *shell, "give bash, zsh or fish");
    }
    std::cout << script;
  });
  CLI::App* man = app.add_subcommand("man", "Writes a manual page for each command");
  const auto folder = std::make_shared<std::string>();
  man->add_option("-o,--output", *folder, "Folder for the pages")->required();
  man->callback([&app, folder] { writeManPages(app, *folder); });
}

}  // namespace

CLI::App* addSuiteCommand(CLI::App& group,
                          const char* name,
                          const char* description,
                          DeviceOptions& device,
                          const std::function<void()>& action) {
  CLI::App* command = group.add_subcommand(name, description);
  device.addSuiteOptions(*command);
  command->callback([&device, action] {
    settleSuite(device);
    action();
  });
  return command;
}

}  // namespace host

int main(int argc, char** argv) {
  CLI::App app("Glancery's widget host: runs the widget extension as a phone would.", "glancery");
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0 success, 1 failure, 2 wrong usage, 3 a comparison differs.\n"
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
  host::addReferenceCommands(app);
  app.set_version_flag("--version", host::version());
  if (argc > 1 && std::string_view(argv[1]) == "--complete") {
    for (const std::string& word : host::completions(app, {argv + 2, argv + argc})) {
      std::cout << word << '\n';
    }
    return host::kDone;
  }
  try {
    host::checkCommandName(app, argc, argv);
    app.parse(argc, argv);
    std::cout.flush();
    if (!std::cout) {
      throw host::CommandError("can't write to standard output");
    }
    return host::kDone;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      return app.exit(error);  // --help or --version
    }
    std::cerr << "glancery: " << error.what() << " (see --help)\n";
    return host::kWrongUsage;
  } catch (const host::CommandError& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return error.status();
  } catch (const host::InvalidValue& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return host::kWrongUsage;
  } catch (const std::exception& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return host::kNotDone;
  }
}
