#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "host/home/placed_widget.h"
#include "host/phone/device_options.h"
#include "host/phone/widget_host.h"
#include "host/schedule/timeline_scheduler.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/time/calendar.h"

namespace host {

struct LogLine {
  platform::Date at;
  std::string text;
  bool fromExtension = false;
};

struct Tap {
  platform::Date at;
  std::string kind;
  std::optional<std::string> link;
};

/// How long a request that failed that many times waits, in seconds: twice as long each time, up to
/// five minutes.
std::chrono::seconds pauseAfterFailures(int failures);

/// A phone with every widget of the bundle on its home screen: keeps their timelines, shows each
/// entry when its date comes, and asks again when it has to.
///
/// It waits for nothing itself. Whoever owns it calls `advance` when `next` or `nextRetry` has come
/// and what belongs to a descriptor when that is readable. What a user asks for in vain is a
/// `CommandError`; what goes wrong by itself stands at the widget and in the log. Used by one
/// thread.
class HomePhone {
 public:
  /// Once `leaving` is requested, from any thread, no answer of the extension is waited for.
  HomePhone(DeviceOptions options, RefreshBudget budget, std::stop_token leaving = {});

  // What it waits for.
  /// By the device's clock; nothing while that stands.
  std::optional<platform::Date> next() const;
  std::optional<std::chrono::steady_clock::time_point> nextRetry() const;
  int downloadsDescriptor() { return host_.downloadsDescriptor(); }
  /// Another one after every launch; -1 while none runs.
  int extensionDescriptor() const { return host_.extension().exitDescriptor(); }

  // What it does then.
  /// Everything that is due now. More may be due afterwards: see `next`.
  void advance();
  void extensionLeft();
  /// Does what downloads can do now, and delivers results, unless a failed delivery pauses that.
  void stepDownloads();
  /// Nothing has been drawn for a while: gives memory back.
  void rest();
  /// Something in the suite is another than before: the host app's part is looked at. A widget
  /// that it concerns is asked for at once, whatever failed before.
  void suiteChanged();
  /// The machine was set to another zone, which the device follows unless it was given one.
  void systemZoneChanged();

  // What its user does.
  void setDevice(const DeviceOptions& options);
  void setBudgetEnforced(bool enforced);
  /// As the host app asks from the foreground; ends the pause after a failure.
  void reload(const std::string& kind);
  void travelTo(platform::Date instant);
  /// Back to the machine's own clock.
  void travelToNow();
  void setRunning(bool running);
  std::optional<std::string> tap(const std::string& kind, platform::Point point);

  // What is to be seen.
  const DeviceOptions& options() const { return options_; }
  const HostSettings& settings() const { return host_.settings(); }
  bool isRunning() const;
  const std::vector<PlacedWidget>& widgets() const { return widgets_; }
  const TimelineScheduler& scheduler() const { return scheduler_; }
  const platform::Dictionary& hostApp() const { return hostApp_; }
  const WidgetHost& host() const { return host_; }
  std::size_t pendingDownloads() { return host_.pendingDownloads(); }
  const std::deque<Tap>& taps() const { return taps_; }
  std::optional<platform::Date> nextEntry() const;
  std::optional<platform::Date> nextReload() const;
  platform::Date nextMidnight() const;
  /// The lines since the last time.
  std::vector<LogLine> takeLog();

 private:
  void place(const GalleryItem& item);
  /// False if the extension ended over it.
  bool fetch(TimelineScheduler::Id id, const ReloadRequest& request);
  void wantNow(PlacedWidget& widget, const ReloadRequest& request);
  void postpone(TimelineScheduler::Id id, const ReloadRequest& request, std::chrono::milliseconds);
  void draw(TimelineScheduler::Id id);
  void redrawAll();
  void keep(const PlacedWidget& widget, TimelineScheduler::Id id);
  void passReloadsOn();
  void setClock(platform::Clock clock);
  void configure(HostSettings settings);
  void note(std::string text);
  void collectLog();
  std::string deviceText() const;
  std::string hostAppText(const std::string& kind) const;
  PlacedWidget& named(const std::string& kind);

  DeviceOptions options_;
  std::vector<LogLine> log_;
  WidgetHost host_;
  TimelineScheduler scheduler_;
  std::vector<PlacedWidget> widgets_;
  /// What the host app had in the suite when it was last looked at.
  platform::Dictionary hostApp_;
  std::deque<Tap> taps_;
  /// When results that could not be delivered are tried again.
  std::optional<std::chrono::steady_clock::time_point> deliverAt_;
  int failedDeliveries_ = 0;
};

}  // namespace host
