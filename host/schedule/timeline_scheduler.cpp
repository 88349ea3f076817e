#include "host/schedule/timeline_scheduler.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace host {

using platform::Date;

TimelineScheduler::Id TimelineScheduler::place(std::string kind, WidgetSchedule schedule) {
  const Id widget = widgets_.size();
  widgets_.push_back({std::move(schedule)});
  byKind_[std::move(kind)].push_back(widget);
  arm(widget);
  return widget;
}

void TimelineScheduler::request(const std::string& kind, const ReloadRequest& request) {
  const auto placed = byKind_.find(kind);
  if (placed == byKind_.end()) {
    return;
  }
  for (const Id widget : placed->second) {
    widgets_[widget].schedule.request(request);
    arm(widget);
  }
}

void TimelineScheduler::requestAll(const ReloadRequest& request) {
  for (Placed& placed : widgets_) {
    placed.schedule.request(request);
  }
  armAll();
}

std::vector<TimelineScheduler::Due> TimelineScheduler::advance(Date now) {
  const bool setBack = now < now_;
  now_ = now;
  if (setBack) {
    for (Placed& placed : widgets_) {
      placed.schedule.clockSetBack(now);
    }
    armAll();
  }
  std::vector<Id> moved;
  while (!due_.empty() && due_.front().first <= now) {
    moved.push_back(due_.front().second);
    widgets_[moved.back()].due.reset();
    dropStale();
  }
  if (setBack) {
    // Each widget may have to show an earlier entry again.
    moved.resize(widgets_.size());
    std::iota(moved.begin(), moved.end(), Id{0});
  }
  std::vector<Due> due;
  for (const Id widget : moved) {
    if (Due what = dueOf(widget); what.show || what.reload) {
      due.push_back(std::move(what));
    }
    arm(widget);
  }
  return due;
}

TimelineScheduler::Due TimelineScheduler::dueOf(Id widget) {
  Placed& placed = widgets_[widget];
  Due due = {.widget = widget};
  const auto shown = placed.schedule.entryAt(now_, budget_);
  due.show = shown != placed.shown;
  placed.shown = shown;
  if (!placed.asked) {
    due.reload = placed.schedule.takeReload(now_, budget_);
    placed.asked = due.reload.has_value();
  }
  return due;
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
  return due_.empty() ? std::nullopt : std::optional(due_.front().first);
}

void TimelineScheduler::setBudget(const RefreshBudget& budget) {
  budget_ = budget;
  armAll();
}

/// Puts the widget's next due time into the heap.
void TimelineScheduler::arm(Id widget) {
  Placed& placed = widgets_[widget];
  std::optional<Date> due = placed.schedule.nextEntry(now_, budget_);
  if (placed.schedule.entryAt(now_, budget_) != placed.shown) {
    due = now_;
  }
  if (!placed.asked) {
    if (const auto reload = placed.schedule.nextReload(now_, budget_);
        reload && (!due || reload->at < *due)) {
      due = reload->at;
    }
  }
  if (placed.due == due) {
    return;
  }
  placed.due = due;
  if (due) {
    due_.emplace_back(*due, widget);
    std::ranges::push_heap(due_, std::greater());
  }
  dropStale();
}

/// Drops stale times from the top of the heap, and rebuilds it once more than half of it is stale.
void TimelineScheduler::dropStale() {
  while (!due_.empty() && widgets_[due_.front().second].due != due_.front().first) {
    std::ranges::pop_heap(due_, std::greater());
    due_.pop_back();
  }
  constexpr std::size_t kFew = 64;
  if (due_.size() > 2 * widgets_.size() + kFew) {
    due_.clear();
    for (Id widget = 0; widget < widgets_.size(); ++widget) {
      if (widgets_[widget].due) {
        due_.emplace_back(*widgets_[widget].due, widget);
      }
    }
    std::ranges::make_heap(due_, std::greater());
  }
}

void TimelineScheduler::armAll() {
  for (Id widget = 0; widget < widgets_.size(); ++widget) {
    arm(widget);
  }
}

}  // namespace host
