#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/schedule/widget_schedule.h"

namespace host {

/// Every placed widget in time: which of them has something to do at a moment.
///
/// Pure: it reads no clock, and the caller says what it is told. Every call but `advance` over a
/// clock that was set back, `wantAll` and `setBudget` costs O(log n), amortized, for each
/// widget that it touches. Used by one thread.
class TimelineScheduler {
 public:
  using Id = std::size_t;

  /// What a widget has to do now.
  struct Due {
    Id widget;
    /// Another entry is to be shown than before.
    bool show = false;
    /// The timeline is to be asked for; nothing else will be due of it until `fetched`, or `failed`
    /// and `retry`.
    std::optional<ReloadRequest> reload = {};
  };

  explicit TimelineScheduler(RefreshBudget budget = {}) : budget_(budget) {}

  Id place(std::string kind, WidgetSchedule schedule = WidgetSchedule());

  /// Every placed widget of exactly that kind.
  void want(const std::string& kind, const ReloadRequest& request);
  void wantAll(const ReloadRequest& request);

  /// What is due at `now`, in the order in which it came due. A clock that went forward has just
  /// the last of several entries shown, and one reload asked for.
  std::vector<Due> advance(platform::Date now);

  void fetched(Id widget,
               const TimelinePlan& plan,
               const ReloadRequest& request,
               platform::Date now);
  /// The request came to nothing: it is due again once `retry` is called.
  void failed(Id widget, const ReloadRequest& request);
  void retry(Id widget);

  /// The moment for which to wait before the next `advance`; none if nothing will come by itself.
  std::optional<platform::Date> next() const;

  const RefreshBudget& budget() const { return budget_; }
  void setBudget(const RefreshBudget& budget);

  const WidgetSchedule& at(Id widget) const { return widgets_[widget].schedule; }
  std::size_t size() const { return widgets_.size(); }

 private:
  struct Placed {
    WidgetSchedule schedule;
    std::optional<std::size_t> shown = {};
    /// Its timeline has been asked for, and is not here.
    bool asked = false;
    std::optional<platform::Date> due = {};
  };

  void arm(Id widget);
  void armAll();
  void dropOvertaken();
  Due dueOf(Id widget);

  RefreshBudget budget_;
  std::vector<Placed> widgets_;
  std::unordered_map<std::string, std::vector<Id>> byKind_;
  /// A heap with the earliest on top. A widget's moment that was overtaken by another stays in it
  /// until it comes up.
  std::vector<std::pair<platform::Date, Id>> due_;
  platform::Date now_ = platform::Date::distantPast();
};

}  // namespace host
