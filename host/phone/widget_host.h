#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/phone/download_delivery.h"
#include "host/phone/extension_process.h"
#include "host/phone/host_error.h"
#include "host/phone/host_settings.h"
#include "platform/render/output/renderer.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

/// A widget as a gallery shows it, in the user's language.
struct GalleryItem {
  std::string kind;
  std::string displayName;
  std::string description;
  std::vector<platform::WidgetFamily> families;
};

using LoadingRenderer =
    std::future<std::expected<std::unique_ptr<platform::Renderer>, std::string>>;

/// Loads the renderer of these settings' bundle on another thread. The result's destructor waits
/// for that thread.
LoadingRenderer startLoadingRenderer(const HostSettings& settings);

/// The phone around the extension: starts it, asks it, and lays out its answers.
///
/// The extension starts with the first request. Failures are `HostError`s; an `ExtensionEnded` says
/// that the extension has ended, and `ensureExtension` starts it again. Used by one thread.
class WidgetHost {
 public:
  using Report = std::function<void(const std::string&)>;

  /// `report` receives problems that stop nothing; `limits` apply to every launch.
  explicit WidgetHost(HostSettings settings, Report report = complain, ExtensionLimits limits = {});

  const HostSettings& settings() const { return settings_; }
  /// Changes the phone, but not its bundle, and configures the running extension.
  void configure(HostSettings settings);
  /// Starts the extension if it does not run.
  void ensureExtension();
  /// Starts the extension and configures it; also replaces a running one.
  void startExtension();
  /// Valid after the first request.
  const ExtensionProcess& extension() const { return *extension_; }
  /// How often an extension was started.
  int launches() const { return launches_; }
  /// Finds out whether the extension has ended between two requests.
  void noticeExit() { extension_->noticeExit(); }

  std::vector<GalleryItem> gallery();
  /// Asks a widget's provider, in the widget's first family.
  platform::ArchivedTimeline provide(platform::ProvideRequest::What what, const std::string& kind);
  /// The family that `provide` asks for; an `InvalidValue` lists the known kinds.
  platform::WidgetFamily familyOf(const std::string& kind);
  /// Sends a request whose answer is only a confirmation.
  void tell(platform::HostMessage::Content request) { ask<platform::Done>(std::move(request)); }

  /// Lays an entry out for the widget's size and the device's scheme.
  platform::DisplayList display(const platform::ArchivedEntry& entry,
                                platform::WidgetFamily family);
  /// Uses a renderer that is being loaded, by `startLoadingRenderer`.
  void setRenderer(LoadingRenderer renderer) { loadingRenderer_ = std::move(renderer); }
  /// Loaded at the first use, as only some commands draw.
  platform::Renderer& renderer();
  /// Frees the renderer until it is used again.
  void releaseRenderer() { renderer_.reset(); }

  DownloadDelivery& downloads() { return downloads_; }
  /// The kinds whose timelines the extension has asked to reload, each once.
  std::set<std::string> takeReloadRequests() { return std::exchange(reloadRequests_, {}); }
  /// Whether the extension has asked to reload this kind; forgets the request.
  bool takeReloadRequest(const std::string& kind) { return reloadRequests_.erase(kind) > 0; }

  /// The lines of the extension's log, over all launches, that were not taken yet.
  std::vector<std::string> log() const;
  std::vector<std::string> takeLog();
  void report(const std::string& problem) const { report_(problem); }

 private:
  template <class Answer>
  Answer ask(platform::HostMessage::Content request) {
    auto content = answerTo(std::move(request));
    auto* answer = std::get_if<Answer>(&content);
    if (!answer) {
      throw HostError("the extension sent an answer of another type");
    }
    return std::move(*answer);
  }
  platform::ExtensionMessage::Content answerTo(platform::HostMessage::Content request);
  const std::vector<platform::WidgetDescription>& widgets();

  HostSettings settings_;
  Report report_;
  ExtensionLimits limits_;
  DownloadDelivery downloads_;
  std::set<std::string> reloadRequests_;
  std::unique_ptr<ExtensionProcess> extension_;
  int launches_ = 0;
  std::vector<std::string> earlierLog_;
  std::optional<std::vector<platform::WidgetDescription>> widgets_;
  std::unique_ptr<platform::Renderer> renderer_;
  LoadingRenderer loadingRenderer_;
};

/// The index of the entry that a widget shows at `now`: the last one whose date is not later, or
/// the first one.
std::size_t shownEntry(const platform::ArchivedTimeline& timeline, platform::Date now);

}  // namespace host
