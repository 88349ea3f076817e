#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/commands/terminal.h"
#include "host/phone/widget_host.h"

namespace host {

namespace {

void showGallery(bool json) {
  WidgetHost host(phone());
  const auto gallery = host.gallery();
  if (json) {
    std::cout << galleryJSON(gallery) << '\n';
    return;
  }
  std::vector<Line> lines;
  for (const auto& [kind, displayName, description, families] : gallery) {
    lines.push_back({{kind, "(" + listOf(families, platform::nameOf) + ")"}, kStrong});
    lines.push_back({{"  " + displayName}});
    lines.push_back({{"  " + description}});
  }
  print(lines);
}

}  // namespace

// clang-format off
Command galleryCommand() {
  static bool json = false;
  return withDevice(DeviceUse::all, {
      .name = "gallery",
      .description = "Lists the extension's widgets, in order",
      .groups = {{"Output", {{"--json", &json, "Print JSON"}}}},
      .examples = {"gallery --locale fr_FR"},
      .run = [] { showGallery(json); }});
}
// clang-format on

}  // namespace host
