#include "host/commands/device_options.h"

#include <unistd.h>

#include <cstdlib>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "platform/foundation/time/date.h"
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
    throw CommandError("the container " + container.string() + " can't be read and written");
  }
  // Valid even if the working directory is removed later.
  return fs::canonical(container);
}

/// Clock, zone, locale and container.
HostSettings suiteSettings(const DeviceOptions& options) {
  HostSettings settings = {.container = containerOf(options.container)};
  if (!options.now.empty()) {
    const auto instant = Date::fromISO8601(options.now);
    if (!instant) {
      throw InvalidValue("--now", options.now, "give an instant such as 2026-03-05T08:30:00Z");
    }
    settings.device.clock = Clock::frozenAt(*instant);
  }
  const bool follows = options.timeZone.empty();
  change(settings, "timeZone", follows ? machineTimeZone() : options.timeZone, "--time-zone");
  settings.followsMachineZone = follows;
  change(settings, "locale", options.locale, "--locale");
  return settings;
}

}  // namespace

void DeviceOptions::addSuiteOptions(CLI::App& command) {
  command.add_option(
      "--container", container, "Folder of the app group (default: $XDG_DATA_HOME/glancery)");
  command.add_option(
      "--now", now, "Freezes the clock at that instant, ISO 8601 (default: it runs)");
}

void DeviceOptions::addCalendarOptions(CLI::App& command) {
  command.add_option(
      "--time-zone", timeZone, "Time zone, such as America/Mexico_City (default: this machine's)");
  command.add_option("--locale", locale, "Locale, such as es_MX")->capture_default_str();
}

void DeviceOptions::addTo(CLI::App& command) {
  addSuiteOptions(command);
  addCalendarOptions(command);
  command.add_option("--extension",
                     extension,
                     "Folder of the extension (default: Glancery.appex beside this program)");
  command.add_option("--scheme", scheme, "light or dark")->capture_default_str();
  command.add_option("--os", os, "Version of the phone's system")->capture_default_str();
  command.add_option("--device", device, "Screen class, in points")->capture_default_str();
  command.add_option("--size", size, "Widget size instead of the screen class's, WxH in points");
  command.add_option("--scale", scale, "Pixels per point, 1 to 4 (default: the screen class's)");
  command.add_option("--info", info, "Overrides a value of the Info dictionary: KEY=VALUE")
      ->allow_extra_args(false);
}

HostSettings settle(const DeviceOptions& options) {
  HostSettings settings = suiteSettings(options);
  change(settings, "os", options.os, "--os");
  change(settings, "scheme", options.scheme, "--scheme");
  change(settings, "screen", options.device, "--device");
  settings.screen.scale = options.scale.value_or(settings.screen.scale);
  if (!(settings.screen.scale >= 1 && settings.screen.scale <= 4)) {
    throw InvalidValue("--scale", std::to_string(settings.screen.scale), "give 1 to 4");
  }
  if (!options.size.empty()) {
    const auto size = parseSize(options.size);
    if (!size) {
      throw InvalidValue("--size", options.size, "give WxH in points, such as 338x158");
    }
    settings.screen.small = settings.screen.medium = *size;
  }
  for (const std::string& assignment : options.info) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw InvalidValue("--info", assignment, "give KEY=VALUE");
    }
    settings.infoOverrides.set(assignment.substr(0, equals), assignment.substr(equals + 1));
  }
  settings.extension = extensionFolder(options.extension);
  makeCurrent(settings);
  return settings;
}

void settleSuite(const DeviceOptions& options) {
  makeCurrent(suiteSettings(options));
}

fs::path extensionFolder(const std::string& option) {
  try {
    return requireExtension(option.empty() ? programFolder() / "Glancery.appex" : fs::path(option));
  } catch (const HostError& error) {
    throw CommandError(std::string(error.what()) +
                       "; give --extension DIR, the folder of a built Glancery.appex");
  }
}

}  // namespace host
