#include "host/commands/device_options.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "host/phone/host_app.h"
#include "platform/foundation/locale/locale.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

fs::path defaultContainer() {
  for (const auto& [variable, folder] :
       {std::pair("XDG_DATA_HOME", "glancery"), std::pair("HOME", ".local/share/glancery")}) {
    if (const char* const value = std::getenv(variable); value && *value != '\0') {
      return fs::path(value) / folder;
    }
  }
  throw CommandError("no container: give --container DIR, or set XDG_DATA_HOME or HOME");
}

fs::path containerOf(const std::string& folder) {
  const fs::path container = fs::absolute(folder.empty() ? defaultContainer() : fs::path(folder));
  std::error_code error;
  fs::create_directories(container, error);
  if (!fs::is_directory(container)) {
    throw CommandError("the container " + container.string() +
                       " can't be used: " + (error ? error.message() : "it is not a folder"));
  }
  if (::access(container.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw CommandError("the container " + container.string() +
                       " can't be read and written: " + std::system_category().message(errno));
  }
  // Valid even if the working directory is removed later.
  return fs::canonical(container);
}

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

/// The phone as the options say. Options of the screen class come before those that refine it.
HostSettings& settings() {
  static HostSettings chosen = {.device = {.languages = {"es_MX"}}, .followsMachineZone = true};
  return chosen;
}

/// Changes the text setting of that name.
std::function<void(const std::string&)> setting(const char* name, const char* option) {
  return [=](const std::string& text) { change(settings(), name, text, option); };
}

void freezeClock(const std::string& text) {
  settings().device.clock = Clock::frozenAt(instantOf(text, "--now"));
}

void setSize(const std::string& text) {
  const auto size = parseSize(text);
  if (!size) {
    throw InvalidValue("--size", text, "give WxH in points, such as 338x158");
  }
  settings().screen.small = settings().screen.medium = *size;
}

void override(const std::vector<std::string>& info) {
  for (const std::string& assignment : info) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw InvalidValue("--info", assignment, "give KEY=VALUE");
    }
    settings().infoOverrides.set(assignment.substr(0, equals), assignment.substr(equals + 1));
  }
}

}  // namespace

const HostSettings& phone() {
  return settings();
}

Option extensionOption(std::string& folder) {
  return {"--extension DIR",
          &folder,
          "Folder of the extension (default: Glancery.appex beside this program)"};
}

// clang-format off
Command withDevice(DeviceUse use, Command command) {
  static std::string container;
  static std::string extension;
  static std::vector<std::string> info;
  std::vector<Option> device = {
      {"--now INSTANT", freezeClock, "Freezes the clock at that instant, ISO 8601 (default: it runs)"},
      {"--time-zone ZONE", setting("timeZone", "--time-zone"),
       "Time zone, such as America/Mexico_City (default: this machine's)", Suggested(timeZones)},
      {"--locale LOCALE", setting("locale", "--locale"), "Locale (default: es_MX)",
       Suggested(availableLocaleIdentifiers)},
      {"--scheme SCHEME", setting("scheme", "--scheme"), "light or dark (default: light)",
       Suggested([] { return wordsOf(kRawValues<ColorScheme>); })},
      {"--os VERSION", setting("os", "--os"), "Version of the phone's system (default: 17.0)"},
      {"--device WxH", setting("screen", "--device"), "Screen class, in points (default: 390x844)",
       Suggested([] { return wordsOf(screenClasses(), &ScreenClass::name); })},
      {"--size WxH", setSize, "Widget size instead of the screen class's, in points"},
      {"--scale N", &settings().screen.scale, "Pixels per point, 1 to 4 (default: the screen class's)", Range(1, 4)}};
  device.resize(std::to_underlying(use));
  command.groups.push_back({"Device", device});
  if (use == DeviceUse::all) {
    command.groups.push_back({"Extension", {
        extensionOption(extension),
        {"--info KEY=VALUE", &info, "Overrides a value of the Info dictionary; may be repeated"}}});
  }
  command.groups.push_back({"Container", {
      {"--container DIR", &container, "Folder of the app group (default: $XDG_DATA_HOME/glancery)"}}});
  command.run = [use, run = std::move(command.run)] {
    if (use == DeviceUse::all) {
      override(info);
      settings().extension = extensionFolder(extension);
    }
    if (settings().followsMachineZone) {
      settings().device.timeZone = machineTimeZone();
    }
    settings().container = containerOf(container);
    makeCurrent(settings());
    run();
  };
  return command;
}
// clang-format on

fs::path extensionFolder(const std::string& option) {
  try {
    return requireExtension(option.empty() ? programFolder() / "Glancery.appex" : fs::path(option));
  } catch (const HostError& error) {
    throw CommandError(std::string(error.what()) +
                       "; give --extension DIR, the folder of a built Glancery.appex");
  }
}

}  // namespace host
