#pragma once

#include <chrono>
#include <expected>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/phone/command_error.h"
#include "host/phone/device_options.h"
#include "host/phone/extension_process.h"
#include "host/transfer/transfer_service.h"
#include "platform/foundation/bundle/bundle.h"
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

/// The phone around the extension for one command: starts it, asks it, lays out what it answers.
/// What goes wrong ends the command with a `CommandError`.
class WidgetHost {
 public:
  /// `report` hears what went wrong and was seen to; `limits` hold for every launch.
  explicit WidgetHost(HostSettings settings,
                      std::function<void(const std::string&)> report = complain,
                      TransferSettings transfers = {},
                      ExtensionLimits limits = {});

  const HostSettings& settings() const { return settings_; }
  /// Plays another phone from now on, with the same bundle; the running extension is told what is
  /// new to it.
  void configure(HostSettings settings);
  /// Starts the extension again if it has ended.
  void ensureExtension();
  const ExtensionProcess& extension() const { return *extension_; }
  /// How often an extension was started.
  int launches() const { return launches_; }
  /// Finds out whether the extension left between two requests.
  void noticeExit() { extension_->noticeExit(); }

  std::vector<GalleryItem> gallery();
  /// Asks a widget's provider, in the widget's first family.
  platform::ArchivedTimeline provide(platform::ProvideRequest::What what, const std::string& kind);
  /// The family that `provide` asks for; an unknown kind is an error that lists the known ones.
  platform::WidgetFamily familyOf(const std::string& kind);

  /// Lays an entry out for the widget's size and the device's scheme.
  platform::DisplayList display(const platform::ArchivedEntry& entry,
                                platform::WidgetFamily family);
  /// Uses a renderer that is being loaded, by `startLoadingRenderer`.
  void setRenderer(LoadingRenderer renderer) { loadingRenderer_ = std::move(renderer); }
  /// Loaded at its first use: only commands that draw need typefaces and pictures.
  platform::Renderer& renderer();
  /// Lets go of what the renderer keeps, until it is used again.
  void releaseRenderer() { renderer_.reset(); }

  /// Tells the extension that the device's locale is another one now.
  void changeLocale();

  /// Carries downloads out, those that earlier hosts left too, and delivers every result, until
  /// none is left or the time is over; then a `CommandError` says what is still waiting and why.
  /// After each delivery `reloaded` hears whether that kind's timelines are to be asked for again;
  /// what it asks may start more downloads.
  void settleDownloads(const std::string& kind,
                       std::chrono::seconds longest,
                       const std::function<void()>& reloaded);

  /// For hosts that stay: takes over the downloads of hosts that have ended, now and later.
  void adoptDownloads() { transfers().adopt(); }
  /// Readable when `stepDownloads` has something to do.
  int downloadsDescriptor() { return transfers().descriptor(); }
  /// Does what can be done without waiting.
  void stepDownloads();
  /// Delivers every result. One that no widget takes is set aside with the reason, and reported.
  void deliverDownloads();
  std::size_t pendingDownloads() { return transfers().pending(); }
  /// Why the pending ones have not ended yet, as the last attempt of one says.
  std::string downloadsWaitFor() const;
  /// The kinds whose timelines the extension wants to be asked for again, each once.
  std::set<std::string> takeReloadRequests() { return std::exchange(reloadRequests_, {}); }
  /// Whether a launch ended meanwhile that may have had more of them.
  bool takeReloadsLost() { return std::exchange(reloadsLost_, false); }

  /// Every line of the extension so far, over all its launches.
  std::vector<std::string> log() const;
  /// Those since the last time; they are gone from `log` then.
  std::vector<std::string> takeLog();

 private:
  template <class Answer>
  Answer ask(platform::HostMessage::Content request) {
    auto content = answerTo(std::move(request));
    auto* answer = std::get_if<Answer>(&content);
    if (!answer) {
      throw CommandError("the extension answered another question than was asked");
    }
    return std::move(*answer);
  }
  platform::ExtensionMessage::Content answerTo(platform::HostMessage::Content request);
  const std::vector<platform::WidgetDescription>& widgets();

  void startExtension();
  TransferService& transfers();
  std::expected<void, platform::NSError> takeDownload(const platform::StartDownload& start);
  /// Brings every finished task to the extension, with new launches of it where one ends meanwhile.
  /// A body that ends one launch after the other is held back, and a failure told instead: what
  /// comes behind it must get through.
  void deliverFinished();
  void finishDelivery(const std::set<std::string>& sessions);
  /// False if no widget takes the result: it was set aside.
  bool deliver(const TransferTask& task, bool withBody);
  bool wasTaken(const TransferTask& task);
  void forget(const TransferTask& task);
  void waitForTransfers(std::chrono::steady_clock::time_point deadline);
  void reportTransfers();

  HostSettings settings_;
  std::function<void(const std::string&)> report_;
  TransferSettings transferSettings_;
  ExtensionLimits limits_;
  std::unique_ptr<ExtensionProcess> extension_;
  int launches_ = 0;
  std::vector<std::string> earlierLog_;
  /// Made at its first use: most commands transfer nothing.
  std::unique_ptr<TransferService> transfers_;
  /// Sessions whose results this launch of the extension expects.
  std::set<std::string> openSessions_;
  /// Those of them whose events this launch was told of, and not yet of their end.
  std::set<std::string> announcedSessions_;
  std::set<std::string> reloadRequests_;
  /// A launch ended that may have had a reload to ask for.
  bool reloadsLost_ = false;
  std::optional<std::vector<platform::WidgetDescription>> widgets_;
  std::unique_ptr<platform::Renderer> renderer_;
  LoadingRenderer loadingRenderer_;
};

/// The place of the entry that a widget shows at `now`: the last whose date has come, or the first
/// while none has.
std::size_t shownEntry(const platform::ArchivedTimeline& timeline, platform::Date now);

}  // namespace host
