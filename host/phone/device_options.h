#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/foundation/time/device.h"
#include "platform/swiftui/color_scheme.h"
#include "platform/swiftui/geometry.h"
#include "platform/widgetkit/widget_family.h"

namespace CLI {
class App;
}

namespace host {

/// The phone that a command plays, as the command line words it.
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

  /// Where the shared suite lives and which moment it is; for commands that play the host app.
  void addSuiteOptions(CLI::App& command);
  /// Where on earth the phone is and what its user speaks.
  void addCalendarOptions(CLI::App& command);
  /// Everything, for commands that run the extension.
  void addTo(CLI::App& command);
};

/// The same, checked.
struct HostSettings {
  std::filesystem::path extension;
  std::filesystem::path container;
  platform::Device device;
  platform::ColorScheme scheme = platform::ColorScheme::light;
  platform::Size small;
  platform::Size medium;
  double scale = 3;
  platform::Dictionary infoOverrides;

  platform::Size sizeOf(platform::WidgetFamily family) const {
    return family == platform::WidgetFamily::systemSmall ? small : medium;
  }
  /// What the system keeps free around a widget's content: from iOS 17 on 16 points on every edge.
  platform::EdgeInsets contentMargins() const;
};

/// Checks every option; a `CommandError` names the one that can't be right. Creates the container
/// if it is new, and makes the device current in this process.
HostSettings settle(const DeviceOptions& options);

/// The part that commands on the suite need: clock, zone, locale and the container.
void settleSuite(const DeviceOptions& options);

}  // namespace host
