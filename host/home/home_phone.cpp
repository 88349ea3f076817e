#include "host/home/home_phone.h"

#include <malloc.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "host/phone/command_error.h"
#include "host/phone/host_app.h"
#include "host/phone/screens.h"
#include "platform/foundation/data/cbor.h"
#include "platform/support/fingerprint.h"

namespace host {

using namespace platform;
using std::chrono::steady_clock;

namespace {

constexpr std::size_t kTapsKept = 50;
/// Between the end of the extension and the next widget's request.
constexpr auto kBreath = std::chrono::milliseconds(100);

TimelinePlan planOf(const ArchivedTimeline& timeline) {
  TimelinePlan plan = {.entries = {}, .reloadAfter = timeline.policy.date};
  for (const ArchivedEntry& entry : timeline.entries) {
    plan.entries.push_back(entry.date);
  }
  return plan;
}

Dictionary readHostApp() {
  const Dictionary suite = readSharedSuite();
  Dictionary values;
  for (const auto& [key, kind] : kHostAppKeys) {
    if (const Value* value = suite.find(key)) {
      values.set(std::string(key), *value);
    }
  }
  return values;
}

bool concerns(const HostAppKey& key, const std::string& kind) {
  return key.kind.empty() || key.kind == kind;
}

bool sameValue(const Dictionary& one, const Dictionary& other, std::string_view key) {
  const Value* first = one.find(key);
  const Value* second = other.find(key);
  return first && second ? *first == *second : first == second;
}

std::optional<Date> earlier(std::optional<Date> one, std::optional<Date> other) {
  return one && other ? std::min(*one, *other) : (one ? one : other);
}

}  // namespace

std::chrono::seconds pauseAfterFailures(int failures) {
  constexpr int kLongest = 300;
  return std::chrono::seconds(std::min(1 << std::clamp(failures - 1, 0, 9), kLongest));
}

HomePhone::HomePhone(DeviceOptions options, RefreshBudget budget, std::stop_token leaving)
    : options_(std::move(options)),
      host_(settle(options_),
            [this](const std::string& line) { note(line); },
            {},
            {.leaving = std::move(leaving)}),
      scheduler_(budget),
      hostApp_(readHostApp()) {
  // Relative ones would mean others if the folder of the start were gone.
  options_.extension = settings().extension;
  options_.container = settings().container;
  for (const GalleryItem& item : host_.gallery()) {
    place(item);
  }
  host_.adoptDownloads();
  // Results that an earlier host did not deliver wake nobody.
  stepDownloads();
  advance();
}

/// Shows at once what an earlier home screen has left; whatever changed since has it asked for.
void HomePhone::place(const GalleryItem& item) {
  PlacedWidget widget = {.item = item, .family = item.families.at(0)};
  auto stored = loadWidget(timelineFile(settings().container, item.kind));
  if (!stored) {
    note(stored.error());
  }
  WidgetSchedule schedule;
  if (stored && *stored) {
    widget.stored = std::move(**stored);
    schedule = WidgetSchedule(widget.stored.schedule, planOf(widget.stored.timeline));
    if (widget.stored.device != deviceText()) {
      schedule.want({ReloadCause::device, "the device's settings changed"});
    }
    if (widget.stored.hostApp != hostAppText(item.kind)) {
      schedule.want({ReloadCause::hostApp, "the host app wrote meanwhile"});
    }
    // Made by a clock that was ahead of this one.
    schedule.clockSetBack(Date::now());
  }
  widgets_.push_back(std::move(widget));
  scheduler_.place(item.kind, std::move(schedule));
}

std::optional<Date> HomePhone::next() const {
  const auto next = scheduler_.next();
  return next && (isRunning() || *next <= Date::now()) ? next : std::nullopt;
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
  for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
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
      // One widget over which the extension hangs must not make the phone wait for each of them.
      postpone(due.widget, *due.reload, kBreath);
    }
  }
}

void HomePhone::postpone(TimelineScheduler::Id id,
                         const ReloadRequest& request,
                         std::chrono::milliseconds pause) {
  scheduler_.failed(id, request);
  widgets_[id].retryAt = steady_clock::now() + pause;
}

bool HomePhone::fetch(TimelineScheduler::Id id, const ReloadRequest& request) {
  PlacedWidget& widget = widgets_[id];
  const std::string& kind = widget.item.kind;
  try {
    const std::string hostApp = hostAppText(kind);
    host_.ensureExtension();
    ArchivedTimeline timeline = host_.provide(ProvideRequest::What::timeline, kind);
    if (timeline.entries.empty()) {
      throw CommandError("the timeline of \"" + kind + "\" has no entries");
    }
    scheduler_.fetched(id, planOf(timeline), request, Date::now());
    widget.stored = {.device = deviceText(),
                     .hostApp = hostApp,
                     .schedule = {},
                     .timeline = std::move(timeline)};
    widget.problem.reset();
    widget.failures = 0;
    collectLog();
    note(kind + ": new timeline (" + request.why + ")");
    keep(widget, id);
    draw(id);
  } catch (const CommandError& error) {
    const auto pause = pauseAfterFailures(++widget.failures);
    postpone(id, request, pause);
    widget.problem = error.what();
    collectLog();
    note(kind + ": " + error.what() + "; asked again in " + std::to_string(pause.count()) + " s");
  }
  passReloadsOn();
  return !host_.extension().failure();
}

void HomePhone::draw(TimelineScheduler::Id id) {
  PlacedWidget& widget = widgets_[id];
  const auto entry = scheduler_.at(id).entryAt(Date::now(), scheduler_.budget());
  if (!entry) {
    return;
  }
  try {
    DisplayList list = host_.display(widget.stored.timeline.entries.at(*entry), widget.family);
    auto png = host_.renderer().png(list,
                                    {.scale = settings().scale,
                                     .scheme = settings().scheme,
                                     .cornerRadius = kWidgetCornerRadius});
    if (!png) {
      throw CommandError(png.error());
    }
    widget.entry = entry;
    widget.list = std::move(list);
    widget.version = platform::fingerprint(*png);
    widget.png = *std::move(png);
    if (widget.failures == 0) {
      widget.problem.reset();
    }
  } catch (const CommandError& error) {
    widget.problem = error.what();
    note(widget.item.kind + ": " + error.what());
  }
}

void HomePhone::redrawAll() {
  for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
    draw(id);
  }
}

void HomePhone::keep(const PlacedWidget& widget, TimelineScheduler::Id id) {
  StoredWidget stored = widget.stored;
  stored.schedule = scheduler_.at(id).record();
  if (const auto done = storeWidget(timelineFile(settings().container, widget.item.kind), stored);
      !done) {
    note(done.error());
  }
}

void HomePhone::passReloadsOn() {
  for (const std::string& kind : host_.takeReloadRequests()) {
    scheduler_.want(kind, {ReloadCause::extension, "the extension asked for it"});
    for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
      if (widgets_[id].item.kind == kind) {
        keep(widgets_[id], id);
      }
    }
  }
  if (host_.takeReloadsLost()) {
    scheduler_.wantAll({ReloadCause::extension, "the extension ended before it could ask"});
    for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
      keep(widgets_[id], id);
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
  host_.stepDownloads();
  if (deliverAt_ && *deliverAt_ > steady_clock::now()) {
    return;
  }
  deliverAt_.reset();
  try {
    host_.deliverDownloads();
    failedDeliveries_ = 0;
  } catch (const CommandError& error) {
    deliverAt_ = steady_clock::now() + pauseAfterFailures(++failedDeliveries_);
    note(error.what());
  }
  collectLog();
  passReloadsOn();
}

void HomePhone::rest() {
  host_.releaseRenderer();
  ::malloc_trim(0);
}

void HomePhone::suiteChanged() {
  Dictionary values;
  try {
    values = readHostApp();
  } catch (const CommandError& error) {
    note(error.what());
    return;
  }
  for (const HostAppKey& key : kHostAppKeys) {
    if (sameValue(values, hostApp_, key.key)) {
      continue;
    }
    const ReloadRequest request = {ReloadCause::hostApp,
                                   "the host app changed " + std::string(key.key)};
    note(request.why);
    for (PlacedWidget& widget : widgets_) {
      if (concerns(key, widget.item.kind)) {
        wantNow(widget, request);
      }
    }
  }
  hostApp_ = std::move(values);
}

void HomePhone::setBudgetEnforced(bool enforced) {
  RefreshBudget budget = scheduler_.budget();
  budget.enforced = enforced;
  scheduler_.setBudget(budget);
}

void HomePhone::reload(const std::string& kind) {
  wantNow(named(kind), {ReloadCause::hostApp, "asked for by hand"});
}

/// What the extension failed at may be no more: a pause ends.
void HomePhone::wantNow(PlacedWidget& widget, const ReloadRequest& request) {
  scheduler_.want(widget.item.kind, request);
  if (widget.retryAt) {
    widget.retryAt = steady_clock::now();
  }
}

std::optional<std::string> HomePhone::tap(const std::string& kind, Point point) {
  const PlacedWidget& widget = named(kind);
  auto link = linkAt(widget.list, point);
  taps_.push_front({Date::now(), kind, link});
  if (taps_.size() > kTapsKept) {
    taps_.pop_back();
  }
  note(kind + ": tapped, " + link.value_or("no link"));
  return link;
}

std::optional<Date> HomePhone::nextEntry() const {
  std::optional<Date> next;
  for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
    next = earlier(next, scheduler_.at(id).nextEntry(Date::now(), scheduler_.budget()));
  }
  return next;
}

std::optional<Date> HomePhone::nextReload() const {
  std::optional<Date> next;
  for (TimelineScheduler::Id id = 0; id < widgets_.size(); ++id) {
    if (const auto reload = scheduler_.at(id).nextReload(Date::now(), scheduler_.budget())) {
      next = earlier(next, reload->at);
    }
  }
  return next ? std::optional(std::max(*next, Date::now())) : std::nullopt;
}

PlacedWidget& HomePhone::named(const std::string& kind) {
  const auto widget =
      std::ranges::find(widgets_, kind, [](const PlacedWidget& each) { return each.item.kind; });
  if (widget == widgets_.end()) {
    throw wrongValue("kind", kind, "no widget has it");
  }
  return *widget;
}

std::string HomePhone::hostAppText(const std::string& kind) const {
  Dictionary values;
  for (const HostAppKey& key : kHostAppKeys) {
    const Value* value = hostApp_.find(key.key);
    if (value && concerns(key, kind)) {
      values.set(std::string(key.key), *value);
    }
  }
  const auto bytes = encodeCBOR(values);
  return bytes ? platform::fingerprint(*bytes) : bytes.error();
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
