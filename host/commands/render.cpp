#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/screens.h"
#include "host/phone/widget_host.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

struct RenderOptions {
  DeviceOptions device = {};
  std::string kind = {};
  std::string output = {};
  std::string of = "timeline";
  std::optional<std::size_t> entry = {};
};

const ArchivedEntry& chosenEntry(const ArchivedTimeline& timeline,
                                 std::optional<std::size_t> wanted) {
  const std::size_t index = wanted.value_or(shownEntry(timeline, Date::now()));
  if (index >= timeline.entries.size()) {
    throw InvalidValue(
        "--entry",
        std::to_string(index),
        "the timeline has " + std::to_string(timeline.entries.size()) + " entries, counted from 0");
  }
  return timeline.entries[index];
}

/// The bytes of the file, in the format of its extension.
std::string encoded(WidgetHost& host, const DisplayList& list, const std::string& ending) {
  if (ending == ".json") {
    return displayListJSON(list) + "\n";
  }
  const PictureOptions options = {.scale = host.settings().screen.scale,
                                  .scheme = host.settings().scheme,
                                  .cornerRadius = kWidgetCornerRadius};
  auto bytes =
      ending == ".svg" ? host.renderer().svg(list, options) : host.renderer().png(list, options);
  if (!bytes) {
    throw CommandError(bytes.error());
  }
  return *std::move(bytes);
}

void render(const RenderOptions& options) {
  const std::string ending = std::filesystem::path(options.output).extension().string();
  if (ending != ".png" && ending != ".svg" && ending != ".json") {
    throw InvalidValue("-o", options.output, "give a file that ends in .png, .svg or .json");
  }
  const auto what = requestNamed(options.of);
  HostSettings settings = settle(options.device);
  // Loads while the extension works: typefaces take as long as the timeline.
  LoadingRenderer renderer = startLoadingRenderer(settings);
  WidgetHost host(std::move(settings));
  host.setRenderer(std::move(renderer));
  const ArchivedTimeline timeline = host.provide(what, options.kind);
  const ArchivedEntry& entry = chosenEntry(timeline, options.entry);
  const DisplayList list = host.display(entry, host.familyOf(options.kind));
  const std::string bytes = encoded(host, list, ending);
  if (const auto error = writeFile(options.output, bytes)) {
    throw CommandError("can't write " + options.output + ": " + error.message());
  }
  for (const std::string& name : host.renderer().missingImages()) {
    std::cerr << "glancery: the bundle has no image \"" << name << "\"; nothing was drawn there\n";
  }
}

}  // namespace

void addRenderCommand(CLI::App& app) {
  auto options = std::make_shared<RenderOptions>();
  CLI::App* command =
      app.add_subcommand("render", "Draws a widget as it is shown now: an image or a display list");
  command->add_option("KIND", options->kind, "The widget, as gallery lists it")->required();
  command->add_option("-o,--output", options->output, "FILE.png, FILE.svg or FILE.json")
      ->required();
  command->add_option("--of", options->of, "placeholder, snapshot or timeline")
      ->capture_default_str();
  command->add_option(
      "--entry", options->entry, "Index in the timeline, from 0 (default: the entry shown now)");
  options->device.addTo(*command);
  command->callback([options] { render(*options); });
}

}  // namespace host
