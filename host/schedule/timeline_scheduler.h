#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "host/schedule/widget_schedule.h"

namespace host {

/// The schedules of all placed widgets, ordered by the time at which each is due.
///
/// Pure: reads no clock. Every call except `setBudget` and an `advance` to an earlier
/// time costs O(log n) for each affected widget. Used by one thread.
class TimelineScheduler {
 public:
  using Id = std::size_t;

  /// What is due for a widget.
  struct Due {
    Id widget;
    /// It shows another entry now.
    bool show = false;
    /// Its timeline is to be requested. No other request is due until `fetched`, or `failed` and
    /// `retry`.
    std::optional<ReloadRequest> reload = {};
  };

  explicit TimelineScheduler(RefreshBudget budget = {}) : budget_(budget) {}

  Id place(WidgetSchedule schedule = WidgetSchedule());

  /// Forgets the widget's timeline. Unless it is `placed`, nothing is due for it any more.
  void reset(Id widget, bool placed);

  void request(Id widget, const ReloadRequest& request);
  /// What is due at `now`, the earliest first. Of several due entries only the last one is shown,
  /// and one reload requested.
  std::vector<Due> advance(platform::Date now);

  void fetched(Id widget,
               const TimelinePlan& plan,
               const ReloadRequest& request,
               platform::Date now);
  /// The request has failed; it is due again after `retry`.
  void failed(Id widget, const ReloadRequest& request);
  void retry(Id widget);

  /// When to call `advance` next; nothing if nothing will be due.
  std::optional<platform::Date> next() const;

  const RefreshBudget& budget() const { return budget_; }
  void setBudget(const RefreshBudget& budget);

  const WidgetSchedule& at(Id widget) const { return widgets_[widget].schedule; }

 private:
  struct Placed {
    WidgetSchedule schedule;
    std::optional<std::size_t> shown = {};
    /// Its timeline was requested and has not arrived, or it is not placed.
    bool asked = false;
    /// The key of its element in `due_`.
    std::optional<platform::Date> due = {};
  };

  /// Puts the widget's next due time into `due_`.
  void arm(Id widget);

  RefreshBudget budget_;
  std::vector<Placed> widgets_;
  std::set<std::pair<platform::Date, Id>> due_;
  platform::Date now_ = platform::Date::distantPast();
};

}  // namespace host
