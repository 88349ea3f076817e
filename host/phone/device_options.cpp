#include "host/phone/device_options.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include <CLI/CLI.hpp>

#include "host/phone/command_error.h"
#include "host/phone/screens.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/time/time_zone.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

fs::path defaultContainer() {
  const std::string data = environment("XDG_DATA_HOME");
  if (!data.empty()) {
    return fs::path(data) / "glancery";
  }
  const std::string home = environment("HOME");
  if (home.empty()) {
    throw CommandError("no container: give --container DIR, or set XDG_DATA_HOME or HOME");
  }
  return fs::path(home) / ".local" / "share" / "glancery";
}

/// The zone that the machine is set to; UTC where it does not say.
std::string systemTimeZone() {
  std::string variable = environment("TZ");
  if (!variable.empty() && TimeZone::withIdentifier(variable)) {
    return variable;
  }
  std::error_code error;
  const std::string link = fs::read_symlink("/etc/localtime", error).string();
  const std::string folder = "zoneinfo/";
  const std::size_t start = link.find(folder);
  const std::string zone = start == std::string::npos ? "" : link.substr(start + folder.size());
  return TimeZone::withIdentifier(zone) ? zone : "UTC";
}

Clock clockOf(const std::string& now) {
  if (now.empty()) {
    return {};
  }
  const auto instant = Date::fromISO8601(now);
  if (!instant) {
    throw wrongValue("--now", now, "give an instant such as 2026-03-05T08:30:00Z");
  }
  return Clock::frozenAt(*instant);
}

std::string timeZoneOf(const std::string& zone) {
  if (zone.empty()) {
    return systemTimeZone();
  }
  if (!TimeZone::withIdentifier(zone)) {
    throw wrongValue("--time-zone",
                     zone,
                     "give a name of the tz database such as "
                     "America/Mexico_City");
  }
  return zone;
}

std::string localeOf(const std::string& locale) {
  if (!Locale::withIdentifier(locale)) {
    throw wrongValue("--locale", locale, "give a locale such as es_MX or en_US");
  }
  return locale;
}

OperatingSystemVersion versionOf(const std::string& os) {
  constexpr int kLargest = 999;
  const auto version = parseOperatingSystemVersion(os);
  if (!version || std::max({version->major, version->minor, version->patch}) > kLargest) {
    throw wrongValue("--os", os, "give a version such as 17.0 or 16.4");
  }
  return *version;
}

ColorScheme schemeOf(const std::string& scheme) {
  if (scheme != "light" && scheme != "dark") {
    throw wrongValue("--scheme", scheme, "give light or dark");
  }
  return scheme == "dark" ? ColorScheme::dark : ColorScheme::light;
}

const ScreenClass& screenOf(const std::string& device) {
  if (const ScreenClass* screen = screenClassNamed(device)) {
    return *screen;
  }
  std::string names;
  for (const ScreenClass& screen : screenClasses()) {
    names += names.empty() ? "" : ", ";
    names += screen.name;
  }
  throw wrongValue("--device", device, "give one of " + names);
}

Dictionary infoOf(const std::vector<std::string>& assignments) {
  Dictionary info;
  for (const std::string& assignment : assignments) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw wrongValue("--info", assignment, "give KEY=VALUE");
    }
    info.set(assignment.substr(0, equals), assignment.substr(equals + 1));
  }
  return info;
}

/// The bundle's folder, absolute, with the program in it.
fs::path extensionOf(const std::string& folder) {
  fs::path extension = fs::absolute(folder.empty() ? platform::programFolder() / "Glancery.appex"
                                                   : fs::path(folder));
  if (!fs::is_directory(extension)) {
    throw CommandError("no extension at " + extension.string() +
                       ": give --extension DIR, the folder of a built Glancery.appex");
  }
  if (!fs::is_regular_file(extension / "Glancery")) {
    throw CommandError(extension.string() + " is no extension: it has no program \"Glancery\"");
  }
  return extension;
}

fs::path containerOf(const std::string& folder) {
  fs::path container = fs::absolute(folder.empty() ? defaultContainer() : fs::path(folder));
  std::error_code error;
  fs::create_directories(container, error);
  if (!fs::is_directory(container)) {
    throw CommandError("the container " + container.string() +
                       " can't be used: " + (error ? error.message() : "it is not a folder"));
  }
  if (::access(container.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw CommandError("the container " + container.string() + " can't be read and written");
  }
  return container;
}

}  // namespace

void DeviceOptions::addSuiteOptions(CLI::App& command) {
  command.add_option(
      "--container", container, "Folder of the app group (default: $XDG_DATA_HOME/glancery)");
  command.add_option("--now", now, "The clock stands at that instant, ISO 8601 (default: it runs)");
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
  command.add_option("--scale", scale, "Pixels a point, 1 to 4 (default: the screen class's)");
  command.add_option("--info", info, "Overrides a value of the Info dictionary: KEY=VALUE")
      ->allow_extra_args(false);
}

EdgeInsets HostSettings::contentMargins() const {
  constexpr double kMargin = 16;
  return device.systemVersion >= OperatingSystemVersion{17, 0}
             ? EdgeInsets{kMargin, kMargin, kMargin, kMargin}
             : EdgeInsets{};
}

HostSettings settle(const DeviceOptions& options) {
  HostSettings settings;
  settings.device = {.clock = clockOf(options.now),
                     .timeZone = timeZoneOf(options.timeZone),
                     .locale = localeOf(options.locale),
                     .languages = {options.locale},
                     .systemVersion = versionOf(options.os)};
  settings.scheme = schemeOf(options.scheme);
  const ScreenClass& screen = screenOf(options.device);
  settings.small = screen.small;
  settings.medium = screen.medium;
  settings.scale = options.scale.value_or(screen.scale);
  if (!(settings.scale >= 1 && settings.scale <= 4)) {
    throw wrongValue("--scale", std::to_string(settings.scale), "give 1 to 4");
  }
  if (!options.size.empty()) {
    const auto size = parseSize(options.size);
    if (!size) {
      throw wrongValue("--size", options.size, "give WxH in points, such as 338x158");
    }
    settings.small = settings.medium = *size;
  }
  settings.infoOverrides = infoOf(options.info);
  settings.extension = extensionOf(options.extension);
  settings.container = containerOf(options.container);
  setCurrentDevice(settings.device);
  setSharedContainer(settings.container);
  return settings;
}

void settleSuite(const DeviceOptions& options) {
  setCurrentDevice({.clock = clockOf(options.now),
                    .timeZone = timeZoneOf(options.timeZone),
                    .locale = localeOf(options.locale)});
  setSharedContainer(containerOf(options.container));
}

}  // namespace host
