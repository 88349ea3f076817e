#include "host/phone/widget_host.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/phone/host_error.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/render/output/render_module.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

ConfigureRequest configuration(const HostSettings& settings) {
  return {settings.device, settings.container.string(), settings.infoOverrides};
}

}  // namespace

LoadingRenderer startLoadingRenderer(const HostSettings& settings) {
  return std::async(std::launch::async,
                    [bundle = settings.extension] { return loadRenderer(bundle, systemFonts()); });
}

WidgetHost::WidgetHost(HostSettings settings, Report report, ExtensionLimits limits)
    : settings_(std::move(settings)),
      report_(std::move(report)),
      limits_(std::move(limits)),
      downloads_(*this) {
}

void WidgetHost::configure(HostSettings settings) {
  const HostSettings before = std::exchange(settings_, std::move(settings));
  setCurrentDevice(settings_.device);
  if (extension_ && !extension_->failure() && configuration(before) != configuration(settings_)) {
    tell(configuration(settings_));
  }
}

void WidgetHost::ensureExtension() {
  if (extension_) {
    extension_->noticeExit();
  }
  if (!extension_ || extension_->failure()) {
    startExtension();
  }
}

void WidgetHost::startExtension() {
  earlierLog_ = log();
  widgets_.reset();
  downloads_.forgetSessions();
  auto started = ExtensionProcess::start(
      settings_.extension,
      limits_,
      {.download = [this](const StartDownload& start) { return downloads_.add(start); },
       .reload = [this](const std::string& kind) { reloadRequests_.insert(kind); }});
  if (!started) {
    throw HostError(started.error().reason);
  }
  extension_ = *std::move(started);
  ++launches_;
  tell(configuration(settings_));
}

ExtensionMessage::Content WidgetHost::answerTo(HostMessage::Content request) {
  if (!extension_) {
    startExtension();
  }
  auto content = extension_->ask(std::move(request));
  if (!content) {
    throw ExtensionEnded(content.error().reason);
  }
  if (const auto* failure = std::get_if<Failure>(&*content)) {
    throw HostError(failure->reason);
  }
  return *std::move(content);
}

const std::vector<WidgetDescription>& WidgetHost::widgets() {
  if (!widgets_) {
    widgets_ = ask<WidgetDescriptions>(DescribeRequest()).widgets;
  }
  return *widgets_;
}

std::vector<GalleryItem> WidgetHost::gallery() {
  const NSBundle bundle(settings_.extension, settings_.infoOverrides);
  std::vector<GalleryItem> items;
  for (const WidgetDescription& widget : widgets()) {
    items.push_back({widget.kind,
                     bundle.localizedString(widget.displayNameKey),
                     bundle.localizedString(widget.descriptionKey),
                     widget.families});
  }
  return items;
}

WidgetFamily WidgetHost::familyOf(const std::string& kind) {
  const auto widget = std::ranges::find(widgets(), kind, &WidgetDescription::kind);
  if (widget == widgets().end()) {
    throw InvalidValue("no widget of the kind",
                       kind,
                       "give one of " + listOf(widgets(), &WidgetDescription::kind));
  }
  if (widget->families.empty()) {
    throw HostError("the widget \"" + kind + "\" supports no family");
  }
  return widget->families.front();
}

ArchivedTimeline WidgetHost::provide(ProvideRequest::What what, const std::string& kind) {
  const WidgetFamily family = familyOf(kind);
  const Size size = settings_.screen.sizeOf(family);
  const EdgeInsets margins = settings_.contentMargins();
  const Size content = {size.width - margins.leading - margins.trailing,
                        size.height - margins.top - margins.bottom};
  auto timeline = ask<ArchivedTimeline>(ProvideRequest{what, kind, {family, content, false}});
  if (timeline.entries.empty()) {
    throw HostError("the extension sent no entry of \"" + kind + "\"");
  }
  return timeline;
}

DisplayList WidgetHost::display(const ArchivedEntry& entry, WidgetFamily family) {
  const bool dark = settings_.scheme == ColorScheme::dark;
  return renderer().layOut(dark ? entry.dark : entry.light,
                           settings_.screen.sizeOf(family),
                           settings_.contentMargins(),
                           entry.direction);
}

Renderer& WidgetHost::renderer() {
  if (!renderer_) {
    if (!loadingRenderer_.valid()) {
      loadingRenderer_ = startLoadingRenderer(settings_);
    }
    auto loaded = loadingRenderer_.get();
    if (!loaded) {
      throw HostError(loaded.error());
    }
    renderer_ = *std::move(loaded);
  }
  return *renderer_;
}

std::vector<std::string> WidgetHost::takeLog() {
  std::vector<std::string> lines = std::exchange(earlierLog_, {});
  if (extension_) {
    std::ranges::move(extension_->takeLog(), std::back_inserter(lines));
  }
  return lines;
}

std::vector<std::string> WidgetHost::log() const {
  std::vector<std::string> lines = earlierLog_;
  if (extension_) {
    lines.insert(lines.end(), extension_->log().begin(), extension_->log().end());
  }
  return lines;
}

std::size_t shownEntry(const ArchivedTimeline& timeline, Date now) {
  std::size_t shown = 0;
  for (std::size_t index = 0; index < timeline.entries.size(); ++index) {
    if (timeline.entries[index].date <= now) {
      shown = index;
    }
  }
  return shown;
}

}  // namespace host
