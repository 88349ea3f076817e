#include <filesystem>
#include <iostream>
#include <optional>
#include <utility>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/phone/screens.h"
#include "host/phone/widget_host.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

struct RenderOptions {
  std::string kind = {};
  std::string output = {};
  std::string of = "timeline";
  std::optional<std::uint64_t> entry = {};
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
  const PictureOptions options = host.settings().pictureOptions();
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
  // Loads while the extension works: typefaces take as long as the timeline.
  LoadingRenderer renderer = startLoadingRenderer(phone());
  WidgetHost host(phone());
  host.setRenderer(std::move(renderer));
  const ArchivedTimeline timeline =
      host.provide(*withRawValue<ProvideRequest::What>(options.of), options.kind);
  const ArchivedEntry& entry = chosenEntry(timeline, options.entry);
  const DisplayList list = host.display(entry, host.familyOf(options.kind));
  const std::string bytes = encoded(host, list, ending);
  if (const auto error = writeFile(options.output, bytes)) {
    throw CommandError(options.output + " can't be written: " + error.message());
  }
  for (const std::string& name : host.renderer().missingImages()) {
    std::cerr << "glancery: the bundle has no image \"" << name << "\"; nothing was drawn there\n";
  }
}

Words requests() {
  return wordsOf(kRawValues<ProvideRequest::What>);
}

}  // namespace

// clang-format off
Command renderCommand() {
  static RenderOptions options;
  return withDevice(DeviceUse::all, {
      .name = "render",
      .description = "Draws a widget as it is shown now: an image or a display list",
      .groups = {{"Output", {
          kindArgument(options.kind),
          {"-o,--output FILE", &options.output, "FILE.png, FILE.svg or FILE.json", Required()},
          {"--of REQUEST", &options.of, listOf(requests()) + " (default: timeline)", OneOf(requests)},
          {"--entry N", &options.entry, "Index in the timeline, from 0 (default: the entry shown now)"}}}},
      .examples = {"render StreakWidget -o streak.png",
                   "render Checkin -o night.svg --scheme dark --now 2026-03-05T23:30:00Z"},
      .run = [] { render(options); }});
}
// clang-format on

}  // namespace host
