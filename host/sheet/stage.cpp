#include "host/sheet/stage.h"

#include <cstdlib>
#include <utility>

#include "host/phone/command_error.h"
#include "host/phone/host_app.h"
#include "platform/support/require.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

fs::path scratchFolder() {
  std::string name = (fs::temp_directory_path() / "glancery-sheet-XXXXXX").string();
  if (!::mkdtemp(name.data())) {
    throw CommandError("no folder can be made in " + fs::temp_directory_path().string());
  }
  return name;
}

/// Leaves exactly those members in the suite, and writes only what is not there already.
void fillSuite(const Dictionary& wanted) {
  changeSharedSuite([&](Dictionary& suite) {
    const bool differs = suite != wanted;
    suite = wanted;
    return differs;
  });
}

}  // namespace

Stage::Stage(const std::string& extension) : container_(scratchFolder()) {
  try {
    DeviceOptions options = {.extension = extension, .container = container_, .timeZone = "UTC"};
    base_ = settle(options);
    host_ = std::make_unique<WidgetHost>(base_);
  } catch (...) {
    fs::remove_all(container_);
    throw;
  }
}

Stage::~Stage() {
  host_.reset();
  std::error_code ignored;
  fs::remove_all(container_, ignored);
}

void Stage::arrange(const Shot& shot) {
  HostSettings settings = base_;
  settings.device.clock = Clock::frozenAt(shot.state->now);
  settings.device.locale = shot.locale;
  settings.device.languages = {std::string(shot.locale)};
  settings.device.systemVersion =
      require(parseOperatingSystemVersion(shot.system), "a system of the sheet");
  settings.scheme = shot.scheme;
  settings.small = shot.screen->small;
  settings.medium = shot.screen->medium;
  settings.scale = shot.screen->scale;
  setCurrentDevice(settings.device);
  fillSuite(shot.state->suite());
  host_->configure(std::move(settings));
}

Size Stage::sizeOf(const Shot& shot) {
  return shot.screen->sizeOf(host_->familyOf(std::string(shot.widget->kind)));
}

ArchivedEntry Stage::entryOf(const Shot& shot) {
  try {
    arrange(shot);
    ArchivedTimeline timeline = host_->provide(shot.state->what, std::string(shot.widget->kind));
    if (timeline.entries.empty()) {
      throw CommandError("the timeline has no entries");
    }
    return std::move(timeline.entries[shownEntry(timeline, Date::now())]);
  } catch (const CommandError& error) {
    throw CommandError(shot.name() + ": " + error.what(), error.status());
  }
}

}  // namespace host
