#include <CLI/CLI.hpp>
#include <iostream>

#include "host/command_error.h"
#include "host/commands/commands.h"

int main(int argc, char** argv) {
  CLI::App app("Glancery's widget host: what a phone would be around the widget extension.",
               "glancery");
  app.require_subcommand(1);
  app.footer("Exit status: 0 done, 1 it could not be done, 2 wrong usage, 3 a comparison differed.\n"
             "Every command has --help.");
  host::addGalleryCommand(app);
  host::addProviderCommands(app);
  host::addRenderCommand(app);
  host::addTapCommand(app);
  host::addStoreCommand(app);
  host::addAppCommand(app);
  try {
    app.parse(argc, argv);
    std::cout.flush();
    if (!std::cout) {
      throw host::CommandError("standard output can't be written");
    }
    return host::kDone;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? host::kDone : host::kWrongUsage;
  } catch (const host::CommandError& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return error.status();
  } catch (const std::exception& error) {
    std::cerr << "glancery: " << error.what() << '\n';
    return host::kNotDone;
  }
}
