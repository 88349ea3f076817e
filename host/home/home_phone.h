#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "host/phone/widget_host.h"
#include "host/schedule/timeline_file.h"
#include "host/schedule/timeline_scheduler.h"
#include "platform/foundation/data/value.h"
#include "platform/render/layout/display_list.h"

namespace host {

/// A drawn widget, as the page requests it. Two different pictures have different paths; the path
/// is empty until there is a picture.
struct ServedPicture {
  std::string path = {};
  std::shared_ptr<const std::string> png = {};
};

/// A widget on the home screen: its stored timeline, and what it shows of that.
struct PlacedWidget {
  GalleryItem item;
  platform::WidgetFamily family = platform::WidgetFamily::systemSmall;
  /// How often it is on the home screen.
  std::int64_t count = 1;
  StoredWidget stored = {};

  /// The index of the shown entry.
  std::optional<std::size_t> entry = {};
  platform::DisplayList list = {};
  /// The last picture that could be drawn, and whether the same list would now look different.
  ServedPicture picture = {};
  bool outdated = true;

  /// Why the picture may be out of date.
  std::optional<std::string> problem = {};
  int failures = 0;
  /// When a failed request is retried, by the monotonic clock.
  std::optional<std::chrono::steady_clock::time_point> retryAt = {};
};

struct LogLine {
  platform::Date at;
  std::string text;
  bool fromExtension = false;
};

/// An event for the page's strip and the simulation's report.
struct PhoneEvent {
  platform::Date at;
  /// The widget's index; nothing if it concerns the phone.
  std::optional<std::size_t> widget = {};
  /// The date of the entry that the widget shows from now on, and its picture's path.
  std::optional<platform::Date> shown = {};
  std::string picture = {};
  /// Why the widget has a new timeline, and the budget that is left.
  std::optional<ReloadRequest> reloaded = {};
  int budgetLeft = 0;
  /// How many downloads are pending from now on.
  std::optional<std::size_t> downloads = {};
};

struct Tap {
  platform::Date at;
  std::string kind;
  std::optional<std::string> link;
};

/// The delay before the retry after that many failures: 1, 2, 4 seconds and so on, up to five
/// minutes.
std::chrono::seconds retryDelay(int failures);

/// A phone with every widget of the bundle on its home screen: stores their timelines, shows each
/// entry when its date comes, and requests new timelines when they are due.
///
/// It waits only for answers of the extension. Its owner calls `advance` at the time that `next` or
/// `nextRetry` gives, and handles a descriptor when it is readable. A user's action that fails
/// throws a `HostError`; other failures are shown at the widget and in the log. Used by one thread.
class HomePhone {
 public:
  /// Once a stop of `leaving` is requested, from any thread, requests to the extension fail at
  /// once.
  HomePhone(HostSettings settings, RefreshBudget budget, std::stop_token leaving = {});

  /// Starts the extension, places its widgets and shows their stored timelines; requests those that
  /// are missing or out of date.
  void start();

  // Events to wait for.
  /// By the device's clock; nothing while that is frozen.
  std::optional<platform::Date> next() const;
  std::optional<std::chrono::steady_clock::time_point> nextRetry() const;
  int downloadsDescriptor() { return host_.downloads().descriptor(); }
  /// Another one after every launch; -1 while none runs.
  int extensionDescriptor() const { return host_.extension().exitDescriptor(); }

  // Their handlers.
  /// Does everything that is due now. More may be due afterwards: see `next`.
  void advance();
  void extensionLeft();
  /// Advances downloads, and delivers results unless a failed delivery has paused that.
  void stepDownloads();
  /// Frees the memory that only drawing needs.
  void rest();
  /// Compares what the host app has stored in the suite, and requests a timeline of every widget
  /// that shows a changed value, without waiting for its next retry.
  void suiteChanged();
  /// Reads the bundle again, and requests all timelines. If it is damaged, the last pictures stay.
  void bundleChanged(const std::string& files);
  /// Follows the machine's time zone, if it has changed and no other was chosen.
  void systemZoneChanged();

  // Actions of the user.
  void setDevice(HostSettings changed);
  void setClock(platform::Clock clock);
  /// Sets the clock to `instant`, from where it runs or is frozen.
  void setClock(platform::Date instant, bool runs);
  void setBudgetEnforced(bool enforced);
  /// Requests a timeline as the host app does from the foreground.
  void reload(const std::string& kind);
  /// Draws the placeholder, the snapshot, or the entry of that number of the widget's timeline, as
  /// a PNG.
  std::string drawPicture(const std::string& kind, const std::string& what);
  /// Sets how often the widget is on the home screen; 0 removes it. The placed widgets are the same
  /// after a restart.
  void setCount(const std::string& kind, std::int64_t count);
  /// Records a tap on a part of the widget that opens `link`, or on one without a link.
  void tap(const std::string& kind, const std::optional<std::string>& link);

  // State.
  const HostSettings& settings() const { return host_.settings(); }
  const std::vector<PlacedWidget>& widgets() const { return widgets_; }
  const TimelineScheduler& scheduler() const { return scheduler_; }
  /// The host app's values in the suite.
  const platform::Dictionary& hostApp() const { return hostApp_; }
  const WidgetHost& host() const { return host_; }
  DownloadDelivery& downloads() { return host_.downloads(); }
  /// Files of the bundle that have changed, and what is wrong with it; empty for none.
  const std::string& bundleChange() const { return bundleChange_; }
  const std::string& bundleProblem() const { return bundleProblem_; }
  /// Throws an `InvalidValue` if no widget has this kind.
  void requireWidget(const std::string& kind) const { named(kind); }
  /// The latest first.
  const std::deque<Tap>& taps() const { return taps_; }
  bool clockRuns() const { return settings().device.clock.kind != platform::Clock::Kind::frozen; }
  /// The lines since the last call.
  std::vector<LogLine> takeLog();
  /// What has happened since the last call.
  std::vector<PhoneEvent> takeEvents() { return std::exchange(events_, {}); }

 private:
  using Id = TimelineScheduler::Id;

  void place(const GalleryItem& item, std::int64_t count);
  /// After a change of the language or the bundle.
  void describeAgain();
  /// False if the extension has ended.
  bool fetch(Id id, const ReloadRequest& request);
  void requestNow(Id id, const ReloadRequest& request);
  void postpone(Id id, const ReloadRequest& request, std::chrono::milliseconds delay);
  void draw(Id id);
  std::string pngOf(const platform::DisplayList& list);
  void store(Id id);
  void passReloadsOn();
  void remember(PhoneEvent event);
  void rememberDownloads();
  /// Notes the error if `work` fails.
  void attempt(const std::function<void()>& work);
  void note(std::string text);
  void collectLog();
  Id named(const std::string& kind) const;

  std::vector<LogLine> log_;
  std::vector<PhoneEvent> events_;
  WidgetHost host_;
  TimelineScheduler scheduler_;
  std::vector<PlacedWidget> widgets_;
  platform::Dictionary hostApp_;
  std::deque<Tap> taps_;
  std::size_t pendingDownloads_ = 0;
  std::string bundleChange_;
  std::string bundleProblem_;
  /// When results that could not be delivered are tried again.
  std::optional<std::chrono::steady_clock::time_point> deliverAt_;
  int failedDeliveries_ = 0;
};

}  // namespace host
