#include "host/commands/commands.h"

int main(int argc, char** argv) {
  host::Command program = {
      .name = "glancery",
      .description = "Glancery's widget host: runs the widget extension as a phone would.",
      .examples = {"home  # the widgets on a live home screen, as a web page",
                   "render StreakWidget -o streak.png"},
      .notes =
          "Exit status: 0 success, 1 failure, 2 wrong usage, 3 a check failed (pictures differ, a\n"
          "promise did not hold, something happened that must not).\n"
          "Every command has --help and a manual page, such as glancery-render(1)."};
  program.commands = {host::galleryCommand(),
                      host::providerCommand("placeholder"),
                      host::providerCommand("snapshot"),
                      host::providerCommand("timeline"),
                      host::renderCommand(),
                      host::sheetCommand(),
                      host::tapCommand(),
                      host::storeCommand(),
                      host::appCommand(),
                      host::downloadsCommand(),
                      host::apiCommand(),
                      host::homeCommand(),
                      host::watchCommand(),
                      host::simulateCommand(),
                      host::drillCommand(),
                      host::completionCommand(),
                      host::manCommand(program, GLANCERY_VERSION)};
  return host::runCommandLine(program, GLANCERY_VERSION, argc, argv);
}
