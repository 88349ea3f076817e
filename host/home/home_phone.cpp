#include "host/home/home_phone.h"

#include <malloc.h>

#include <algorithm>
#include <utility>

#include "host/home/bundle_faults.h"
#include "host/home/placed_counts.h"
#include "host/home/timeline_inputs.h"
#include "host/phone/host_app.h"
#include "platform/support/fingerprint.h"

namespace host {

using namespace platform;
using std::chrono::steady_clock;

namespace {

/// The pause after the extension has ended, before the next widget's request.
constexpr auto kRestartDelay = std::chrono::milliseconds(100);

TimelinePlan planOf(const ArchivedTimeline& timeline) {
  TimelinePlan plan = {.entries = {}, .reloadAfter = timeline.policy.date};
  for (const ArchivedEntry& entry : timeline.entries) {
    plan.entries.push_back(entry.date);
  }
  return plan;
}

/// The value under the key, or null.
Value valueIn(const Dictionary& values, std::string_view key) {
  const Value* value = values.find(key);
  return value ? *value : Value();
}

}  // namespace

std::chrono::seconds retryDelay(int failures) {
  constexpr int kLongest = 300;
  return std::chrono::seconds(std::min(1 << std::clamp(failures - 1, 0, 9), kLongest));
}

HomePhone::HomePhone(HostSettings settings, RefreshBudget budget, std::stop_token leaving)
    : host_(std::move(settings),
            [this](const std::string& line) { note(line); },
            {.leaving = std::move(leaving)}),
      scheduler_(budget) {
}

void HomePhone::start() {
  // Loads while the extension starts: typefaces take as long.
  host_.setRenderer(startLoadingRenderer(settings()));
  attempt([this] { hostApp_ = readHostApp(); });
  const auto counts = loadPlacedCounts(settings().container);
  if (!counts) {
    note(counts.error());
  }
  for (const GalleryItem& item : host_.gallery()) {
    place(item, counts ? counts->integer(item.kind).value_or(1) : 1);
  }
  downloads().adopt();
  // Results that an earlier host has left make no descriptor readable.
  stepDownloads();
  advance();
}

void HomePhone::place(const GalleryItem& item, std::int64_t count) {
  PlacedWidget widget = {.item = item, .family = host_.familyOf(item.kind), .count = count};
  auto stored = loadWidget(timelineFile(settings().container, item.kind));
  if (!stored) {
    note(stored.error());
  }
  WidgetSchedule schedule;
  if (stored && *stored) {
    widget.stored = std::move(**stored);
    schedule = WidgetSchedule(widget.stored.schedule, planOf(widget.stored.timeline));
    if (widget.stored.device != deviceText(settings())) {
      schedule.request({ReloadCause::device, "the device's settings changed"});
    }
    if (widget.stored.hostApp != suiteText(item.kind)) {
      schedule.request({ReloadCause::hostApp, "the suite changed meanwhile"});
    }
    // The clock may be behind that of the earlier home screen.
    schedule.clockSetBack(Date::now());
  }
  widgets_.push_back(std::move(widget));
  const Id id = scheduler_.place(std::move(schedule));
  if (count == 0) {
    scheduler_.reset(id, false);
  }
}

std::optional<Date> HomePhone::next() const {
  const auto next = scheduler_.next();
  return next && (clockRuns() || *next <= Date::now()) ? next : std::nullopt;
}

std::optional<steady_clock::time_point> HomePhone::nextRetry() const {
  std::optional<steady_clock::time_point> next = deliverAt_;
  for (const PlacedWidget& widget : widgets_) {
    if (widget.retryAt && (!next || *widget.retryAt < *next)) {
      next = widget.retryAt;
    }
  }
  return next;
}

void HomePhone::advance() {
  if (deliverAt_ && *deliverAt_ <= steady_clock::now()) {
    stepDownloads();
  }
  for (Id id = 0; id < widgets_.size(); ++id) {
    if (widgets_[id].retryAt && *widgets_[id].retryAt <= steady_clock::now()) {
      widgets_[id].retryAt.reset();
      scheduler_.retry(id);
    }
  }
  bool lives = true;
  for (const TimelineScheduler::Due& due : scheduler_.advance(Date::now())) {
    if (due.show) {
      draw(due.widget);
    }
    if (due.reload && lives) {
      lives = fetch(due.widget, *due.reload);
    } else if (due.reload) {
      // Otherwise an extension that hangs would block the phone once for every widget.
      postpone(due.widget, *due.reload, kRestartDelay);
    }
  }
  rememberDownloads();
}

void HomePhone::postpone(Id id, const ReloadRequest& request, std::chrono::milliseconds delay) {
  scheduler_.failed(id, request);
  widgets_[id].retryAt = steady_clock::now() + delay;
}

bool HomePhone::fetch(Id id, const ReloadRequest& request) {
  PlacedWidget& widget = widgets_[id];
  const std::string& kind = widget.item.kind;
  try {
    // Read before the extension reads: a later change makes the text differ.
    std::string suite = suiteText(kind);
    host_.ensureExtension();
    ArchivedTimeline timeline = host_.provide(ProvideRequest::What::timeline, kind);
    scheduler_.fetched(id, planOf(timeline), request, Date::now());
    widget.stored = {.device = deviceText(settings()),
                     .hostApp = std::move(suite),
                     .schedule = {},
                     .timeline = std::move(timeline)};
    widget.entry.reset();
    widget.problem.reset();
    widget.failures = 0;
    collectLog();
    note(kind + ": new timeline (" + request.why + ")");
    remember({.at = Date::now(),
              .widget = id,
              .reloaded = request,
              .budgetLeft = scheduler_.at(id).budgetLeft(Date::now(), scheduler_.budget())});
    store(id);
    draw(id);
  } catch (const HostError& error) {
    const auto delay = retryDelay(++widget.failures);
    postpone(id, request, delay);
    widget.problem = error.what();
    collectLog();
    note(kind + ": " + error.what() + "; next attempt in " + std::to_string(delay.count()) + " s");
  }
  passReloadsOn();
  return !host_.extension().failure();
}

void HomePhone::draw(Id id) {
  PlacedWidget& widget = widgets_[id];
  const auto entry = scheduler_.at(id).entryAt(Date::now(), scheduler_.budget());
  if (!entry) {
    return;
  }
  try {
    DisplayList list = host_.display(widget.stored.timeline.entries.at(*entry), widget.family);
    const bool changed = widget.outdated || list != widget.list;
    if (changed) {
      std::string png = pngOf(list);
      widget.picture = {"/widgets/" + widget.item.kind + ".png?v=" + fingerprint(png),
                        std::make_shared<const std::string>(std::move(png))};
      widget.list = std::move(list);
      widget.outdated = false;
    }
    if (changed || entry != widget.entry) {
      const Date date = widget.stored.timeline.entries[*entry].date;
      remember({.at = Date::now(), .widget = id, .shown = date, .picture = widget.picture.path});
    }
    widget.entry = entry;
    if (widget.failures == 0) {
      widget.problem.reset();
    }
  } catch (const HostError& error) {
    widget.problem = error.what();
    note(widget.item.kind + ": " + error.what());
  }
}

std::string HomePhone::pngOf(const DisplayList& list) {
  const PictureOptions options = settings().pictureOptions();
  if (settings().simulated) {
    const auto bitmap = host_.renderer().rasterize(list, options);
    return bitmap ? "" : throw HostError(bitmap.error());
  }
  auto png = host_.renderer().png(list, options);
  return png ? *std::move(png) : throw HostError(png.error());
}

void HomePhone::store(Id id) {
  StoredWidget stored = widgets_[id].stored;
  stored.schedule = scheduler_.at(id).record();
  const auto file = timelineFile(settings().container, widgets_[id].item.kind);
  if (const auto done = storeWidget(file, stored); !done) {
    note(done.error());
  }
}

void HomePhone::passReloadsOn() {
  const auto kinds = host_.takeReloadRequests();
  const bool lost = downloads().takeReloadsLost();
  for (Id id = 0; id < widgets_.size(); ++id) {
    const bool requested = kinds.contains(widgets_[id].item.kind);
    if ((requested || lost) && widgets_[id].count > 0) {
      scheduler_.request(id,
                         {ReloadCause::extension,
                          requested ? "requested by the extension"
                                    : "the extension ended before it could request a reload"});
      store(id);
    }
  }
}

void HomePhone::extensionLeft() {
  host_.noticeExit();
  collectLog();
  if (const auto& failure = host_.extension().failure()) {
    note(failure->reason);
  }
}

void HomePhone::stepDownloads() {
  downloads().step();
  if (deliverAt_ && *deliverAt_ > steady_clock::now()) {
    return;
  }
  deliverAt_.reset();
  try {
    downloads().deliver();
    failedDeliveries_ = 0;
  } catch (const HostError& error) {
    deliverAt_ = steady_clock::now() + retryDelay(++failedDeliveries_);
    note(error.what());
  }
  collectLog();
  passReloadsOn();
  rememberDownloads();
}

void HomePhone::rest() {
  host_.releaseRenderer();
  ::malloc_trim(0);
}

void HomePhone::suiteChanged() {
  attempt([this] {
    const Dictionary before = std::exchange(hostApp_, readHostApp());
    for (const HostAppKey& key : kHostAppKeys) {
      if (valueIn(before, key.key) == valueIn(hostApp_, key.key)) {
        continue;
      }
      const ReloadRequest request = {ReloadCause::hostApp,
                                     "the host app changed " + std::string(key.key)};
      note(request.why);
      for (Id id = 0; id < widgets_.size(); ++id) {
        if (concerns(key, widgets_[id].item.kind)) {
          requestNow(id, request);
        }
      }
    }
  });
}

void HomePhone::bundleChanged(const std::string& files) {
  bundleChange_ = files;
  note("the bundle changed: " + files);
  bundleProblem_ = bundleFault(settings().extension);
  if (!bundleProblem_.empty()) {
    note(bundleProblem_);
    return;
  }
  host_.releaseRenderer();
  attempt([this] {
    host_.startExtension();
    describeAgain();
  });
  for (Id id = 0; id < widgets_.size(); ++id) {
    widgets_[id].outdated = true;
    requestNow(id, {ReloadCause::device, "the bundle changed"});
  }
}

void HomePhone::systemZoneChanged() {
  HostSettings changed = settings();
  changed.device.timeZone = machineTimeZone();
  if (changed.followsMachineZone && changed.device != settings().device) {
    setDevice(std::move(changed));
  }
}

void HomePhone::describeAgain() {
  for (const GalleryItem& item : host_.gallery()) {
    widgets_[named(item.kind)].item = item;
  }
}

HomePhone::Id HomePhone::named(const std::string& kind) const {
  for (Id id = 0; id < widgets_.size(); ++id) {
    if (widgets_[id].item.kind == kind) {
      return id;
    }
  }
  throw InvalidValue("kind", kind, "no widget has this kind");
}

void HomePhone::attempt(const std::function<void()>& work) {
  try {
    work();
  } catch (const HostError& error) {
    note(error.what());
  }
}

void HomePhone::rememberDownloads() {
  const std::size_t pending = downloads().pending();
  if (std::exchange(pendingDownloads_, pending) != pending) {
    remember({.at = Date::now(), .downloads = pending});
  }
}

void HomePhone::remember(PhoneEvent event) {
  events_.push_back(std::move(event));
}

void HomePhone::note(std::string text) {
  log_.push_back({Date::now(), std::move(text)});
}

void HomePhone::collectLog() {
  for (std::string& line : host_.takeLog()) {
    log_.push_back({Date::now(), std::move(line), true});
  }
}

std::vector<LogLine> HomePhone::takeLog() {
  collectLog();
  return std::exchange(log_, {});
}

}  // namespace host
