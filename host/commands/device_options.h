#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/phone/host_settings.h"

namespace CLI {
class App;
}

namespace host {

/// The options for the phone that a command plays, as texts.
struct DeviceOptions {
  std::string extension = {};
  std::string container = {};
  std::string now = {};
  std::string timeZone = {};
  std::string locale = "es_MX";
  std::string scheme = "light";
  std::string os = "17.0";
  std::string device = "390x844";
  std::string size = {};
  std::optional<double> scale = {};
  std::vector<std::string> info = {};

  /// The container and the clock, for commands that play the host app.
  void addSuiteOptions(CLI::App& command);
  /// The time zone and the locale.
  void addCalendarOptions(CLI::App& command);
  /// All options, for commands that run the extension.
  void addTo(CLI::App& command);
};

/// Checks all options, creates the container if it is missing, and makes the settings current in
/// this process. An error names the invalid option.
HostSettings settle(const DeviceOptions& options);

/// The same for commands that only use the suite: clock, zone, locale and container.
void settleSuite(const DeviceOptions& options);

/// The extension that `--extension` names; the one beside this program if the option is empty.
/// Throws a `CommandError` if there is none.
std::filesystem::path extensionFolder(const std::string& option);

}  // namespace host
