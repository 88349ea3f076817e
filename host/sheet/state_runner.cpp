#include "host/sheet/state_runner.h"

#include <stdexcept>

#include "host/phone/host_app.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/support/require.h"

namespace host {

using namespace platform;

namespace fs = std::filesystem;

StateRunner::StateRunner(const fs::path& extension) {
  settings_.extension = extension;
  settings_.container = container_.path();
  settings_.device.timeZone = "UTC";
  setCurrentDevice(settings_.device);
  setSharedContainer(settings_.container);
  host_ = std::make_unique<WidgetHost>(settings_);
}

Size StateRunner::sizeOf(const RenderJob& job) {
  return job.screen->sizeOf(host_->familyOf(std::string(job.widget->kind)));
}

ArchivedEntry StateRunner::entryOf(const RenderJob& job) {
  try {
    settings_.device.clock = Clock::frozenAt(job.state->now);
    settings_.device.locale = job.locale;
    settings_.device.languages = {std::string(job.locale)};
    settings_.device.systemVersion = require(parseOperatingSystemVersion(job.system));
    settings_.scheme = job.scheme;
    settings_.screen = *job.screen;
    setCurrentDevice(settings_.device);
    // Writes the file only where it differs.
    changeSharedSuite([wanted = job.state->suite()](Dictionary& suite) {
      return std::exchange(suite, wanted) != wanted;
    });
    host_->configure(settings_);
    ArchivedTimeline timeline = host_->provide(job.state->what, std::string(job.widget->kind));
    return std::move(timeline.entries[shownEntry(timeline, Date::now())]);
  } catch (const std::exception& error) {
    throw std::runtime_error(job.name() + ": " + error.what());
  }
}

}  // namespace host
