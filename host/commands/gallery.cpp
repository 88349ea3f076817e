#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/phone/widget_host.h"

namespace host {

void addGalleryCommand(CLI::App& app) {
  auto options = std::make_shared<DeviceOptions>();
  auto json = std::make_shared<bool>(false);
  CLI::App* command = app.add_subcommand("gallery", "Lists the extension's widgets, in order");
  options->addTo(*command);
  command->add_flag("--json", *json, "Print JSON");
  command->callback([options, json] {
    WidgetHost host(settle(*options));
    const auto gallery = host.gallery();
    if (*json) {
      std::cout << galleryJSON(gallery) << '\n';
      return;
    }
    for (const GalleryItem& item : gallery) {
      std::cout << item.kind << " ("
                << listOf(item.families,
                          [](platform::WidgetFamily family) { return nameOf(family); })
                << ")\n  " << item.displayName << "\n  " << item.description << '\n';
    }
  });
}

}  // namespace host
