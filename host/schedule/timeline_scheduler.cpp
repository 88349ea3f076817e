#include "host/schedule/timeline_scheduler.h"

#include <algorithm>
#include <utility>

namespace host {

using platform::Date;

TimelineScheduler::Id TimelineScheduler::place(WidgetSchedule schedule) {
  const Id widget = widgets_.size();
  widgets_.push_back({std::move(schedule)});
  arm(widget);
  return widget;
}

void TimelineScheduler::reset(Id widget, bool placed) {
  widgets_[widget].schedule = WidgetSchedule();
  widgets_[widget].shown.reset();
  widgets_[widget].asked = !placed;
  arm(widget);
}

void TimelineScheduler::request(Id widget, const ReloadRequest& request) {
  widgets_[widget].schedule.request(request);
  arm(widget);
}

std::vector<TimelineScheduler::Due> TimelineScheduler::advance(Date now) {
  std::vector<Id> moved;
  if (now < now_) {
    // Each widget may have to show an earlier entry again.
    for (Id widget = 0; widget < widgets_.size(); ++widget) {
      widgets_[widget].schedule.clockSetBack(now);
      moved.push_back(widget);
    }
  } else {
    for (auto due = due_.begin(); due != due_.end() && due->first <= now; ++due) {
      moved.push_back(due->second);
    }
  }
  now_ = now;
  std::vector<Due> all;
  for (const Id widget : moved) {
    Placed& placed = widgets_[widget];
    const auto entry = placed.schedule.entryAt(now, budget_);
    Due due = {.widget = widget, .show = std::exchange(placed.shown, entry) != entry};
    if (!placed.asked) {
      due.reload = placed.schedule.takeReload(now, budget_);
      placed.asked = due.reload.has_value();
    }
    if (due.show || due.reload) {
      all.push_back(std::move(due));
    }
    arm(widget);
  }
  return all;
}

void TimelineScheduler::fetched(Id widget,
                                const TimelinePlan& plan,
                                const ReloadRequest& request,
                                Date now) {
  Placed& placed = widgets_[widget];
  placed.schedule.fetched(plan, request, now);
  placed.asked = false;
  now_ = std::max(now_, now);
  placed.shown = placed.schedule.entryAt(now_, budget_);
  arm(widget);
}

void TimelineScheduler::failed(Id widget, const ReloadRequest& request) {
  // A policy stays due without a request.
  if (request.cause != ReloadCause::policy) {
    widgets_[widget].schedule.request(request);
  }
}

void TimelineScheduler::retry(Id widget) {
  widgets_[widget].asked = false;
  arm(widget);
}

std::optional<Date> TimelineScheduler::next() const {
  return due_.empty() ? std::nullopt : std::optional(due_.begin()->first);
}

void TimelineScheduler::setBudget(const RefreshBudget& budget) {
  budget_ = budget;
  for (Id widget = 0; widget < widgets_.size(); ++widget) {
    arm(widget);
  }
}

void TimelineScheduler::arm(Id widget) {
  Placed& placed = widgets_[widget];
  std::optional<Date> due = placed.schedule.nextEntry(now_, budget_);
  if (placed.schedule.entryAt(now_, budget_) != placed.shown) {
    due = now_;
  }
  const auto reload = placed.asked ? std::nullopt : placed.schedule.nextReload(now_, budget_);
  if (reload && (!due || reload->at < *due)) {
    due = reload->at;
  }
  if (placed.due == due) {
    return;
  }
  if (placed.due) {
    due_.erase({*placed.due, widget});
  }
  placed.due = due;
  if (due) {
    due_.emplace(*due, widget);
  }
}

}  // namespace host
